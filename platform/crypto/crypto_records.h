// The records of the Crypto service: the public CryptoAPI shapes with native pointers, so that an implementation made
// elsewhere fits. The function that returns a record documents who owns what it points to (crypto_service.h). Records
// that grow carry their size in octets in a first field cbSize, which the caller sets and the service checks; the sizes
// are checked at the end of this file.
//
// A caller clears a record that it passes, sets cbSize where there is one, and then the fields that it needs:
//
//   CERT_CHAIN_PARA parameters = {0};
//   parameters.cbSize = sizeof parameters;
//   if (!CertGetCertificateChain(NULL, certificate, NULL, store, &parameters, flags, NULL, &chain)) ...
//
// General rules, unless a field says otherwise:
// - Text is terminated; LPCSTR is UTF-8, LPCWSTR 32-bit characters; OIDs are dotted decimal text.
// - Sizes are octets, counts are elements; a pointer with a count of 0 may be null.
// - Times are UTC, FILETIME ticks of 100 nanoseconds since 1601.
// - What the caller passes stays the caller's and is read during the call only.
// - "Not read" means that this service ignores what the caller writes, "not written" that it leaves 0 or null.
#pragma once

#include "platform/support/support_service.h"

#ifdef __cplusplus
extern "C" {
#endif

// The number of an algorithm, CALG_... in crypto_constants.h; 0 for an unknown one. Not the text form: that is an OID,
// which CertOIDToAlgId converts.
typedef unsigned int ALG_ID;
// Handles. Each is released by the function of its kind (CryptReleaseContext, CryptDestroyKey, CryptDestroyHash,
// CertCloseStore, CertFreeCertificateChainEngine); a handle of one kind is never valid as another. Those of providers,
// keys and hashes are whole numbers, 0 for none.
typedef unsigned long long HCRYPTPROV;
typedef unsigned long long HCRYPTKEY;
typedef unsigned long long HCRYPTHASH;
typedef void* HCERTSTORE;
// Null: the engine of the settings, with the ROOT store and the CA stores, as far as the rules of a check permit them.
typedef void* HCERTCHAINENGINE;

// Bytes and their number. The names say what the bytes are: any data, an integer (least significant octet first), DER,
// a hash, a DER Name, a certificate, a CRL. In arguments the bytes stay the caller's; in results they belong to the
// record that contains the blob: copy them, or keep that record.
typedef struct _CRYPTOAPI_BLOB {
    DWORD cbData;
    BYTE* pbData;
} CRYPT_DATA_BLOB, CRYPT_INTEGER_BLOB, CRYPT_OBJID_BLOB, CRYPT_DER_BLOB, CRYPT_HASH_BLOB, CERT_NAME_BLOB, CERT_BLOB,
    CRL_BLOB;

// The content of a BIT STRING (X.690, clause 8.6), without the octet that counts unused bits. Signatures and keys are
// in whole octets: a count of unused bits other than 0 makes them unusable.
typedef struct _CRYPT_BIT_BLOB {
    DWORD cbData;
    // In the order of the BIT STRING, as received: an integer in it is most significant octet first.
    BYTE* pbData;
    // Bits at the end of the last octet that do not count, 0 to 7.
    DWORD cUnusedBits;
} CRYPT_BIT_BLOB;

// AlgorithmIdentifier (RFC 5280, section 4.1.1.2). The signature algorithm names hash and key kind together; that of a
// key names the kind only.
typedef struct _CRYPT_ALGORITHM_IDENTIFIER {
    LPSTR pszObjId;  // dotted decimal
    // The whole DER element, such as 05 00 for NULL; empty when absent. Absent and NULL differ in their bytes, and both
    // are accepted where the algorithm has no parameters.
    CRYPT_OBJID_BLOB Parameters;
} CRYPT_ALGORITHM_IDENTIFIER, *PCRYPT_ALGORITHM_IDENTIFIER;

// ---- Certificates --------------------------------------------------------------------------------------------------

// SubjectPublicKeyInfo (RFC 5280, section 4.1.2.7). The key is not checked when a certificate is read.
typedef struct _CERT_PUBLIC_KEY_INFO {
    // The kind of the key, with its parameters (such as the curve), and the key in the form of that kind.
    CRYPT_ALGORITHM_IDENTIFIER Algorithm;
    CRYPT_BIT_BLOB PublicKey;
} CERT_PUBLIC_KEY_INFO, *PCERT_PUBLIC_KEY_INFO;

// Extension (RFC 5280, section 4.1). A critical one that the reader does not know makes the certificate unusable.
typedef struct _CERT_EXTENSION {
    LPSTR pszObjId;
    BOOL fCritical;
    // The content of extnValue, without the OCTET STRING around it.
    CRYPT_OBJID_BLOB Value;
} CERT_EXTENSION, *PCERT_EXTENSION;

// The fields of a certificate (RFC 5280, section 4.1), in the order of TBSCertificate:
//
//   TBSCertificate ::= SEQUENCE {
//       version              [0] EXPLICIT Version DEFAULT v1,
//       serialNumber         CertificateSerialNumber,
//       signature            AlgorithmIdentifier,
//       issuer               Name,
//       validity             Validity,
//       subject              Name,
//       subjectPublicKeyInfo SubjectPublicKeyInfo,
//       issuerUniqueID       [1] IMPLICIT UniqueIdentifier OPTIONAL,
//       subjectUniqueID      [2] IMPLICIT UniqueIdentifier OPTIONAL,
//       extensions           [3] EXPLICIT Extensions OPTIONAL }
//
// All pointers refer to memory of the context that contains the record, and are valid as long as it. Names are
// unchanged bytes of the certificate: equal names may have different encodings.
typedef struct _CERT_INFO {
    // 0 for v1, 1 for v2, 2 for v3.
    DWORD dwVersion;
    // Least significant octet first: the reverse of the certificate and of OCSP's CertID.
    CRYPT_INTEGER_BLOB SerialNumber;
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    // The whole DER Name, as in the certificate; so is Subject.
    CERT_NAME_BLOB Issuer;
    // The first and the last moment of validity. Times in a form that RFC 5280 does not allow are read as "never
    // valid": NotBefore is then later than NotAfter.
    FILETIME NotBefore;
    FILETIME NotAfter;
    CERT_NAME_BLOB Subject;
    CERT_PUBLIC_KEY_INFO SubjectPublicKeyInfo;
    // issuerUniqueID and subjectUniqueID; empty when absent, as they are in almost every certificate.
    CRYPT_BIT_BLOB IssuerUniqueId;
    CRYPT_BIT_BLOB SubjectUniqueId;
    // The extensions in the order of the certificate; CertFindExtension finds one by its OID. An OID that occurs twice
    // is in the list twice, and the chain of such a certificate is faulty.
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;  // null when there are none
} CERT_INFO, *PCERT_INFO;

// A certificate with its reference count: everything in it is read-only and valid until the last reference is freed
// with CertFreeCertificateContext. Properties are read with CertGetCertificateContextProperty. References may be held
// and freed on different threads. That a context could be made says only that the bytes are a certificate: nothing in
// it is verified.
typedef struct _CERT_CONTEXT {
    // Always X509_ASN_ENCODING.
    DWORD dwCertEncodingType;
    // The DER certificate, exactly as received.
    BYTE* pbCertEncoded;
    DWORD cbCertEncoded;
    PCERT_INFO pCertInfo;
    // The store that the context came from, valid while that store is open; null for none. No reference is held: do not
    // close it.
    HCERTSTORE hCertStore;
} CERT_CONTEXT, *PCERT_CONTEXT;
typedef const CERT_CONTEXT* PCCERT_CONTEXT;

// Opaque: CRLs can be added to stores but are never returned.
typedef struct _CRL_CONTEXT CRL_CONTEXT;
typedef const CRL_CONTEXT* PCCRL_CONTEXT;

// A parameter for the provider of a key. Stored and returned with the property; this service does not interpret it.
// dwParam is one of the provider's own numbers, pbData its value of cbData octets.
typedef struct _CRYPT_KEY_PROV_PARAM {
    DWORD dwParam;
    BYTE* pbData;
    DWORD cbData;
    DWORD dwFlags;
} CRYPT_KEY_PROV_PARAM, *PCRYPT_KEY_PROV_PARAM;

// Where the private key of a certificate is: the property CERT_KEY_PROV_INFO_PROP_ID. Setting the property copies
// everything; reading it returns one block whose pointers refer into the caller's buffer, so the buffer must neither
// move nor go while they are used. Programs set it with crypto_set_key_uri.
typedef struct _CRYPT_KEY_PROV_INFO {
    // The URI of the key, or the path of its file.
    LPWSTR pwszContainerName;
    // Not read; null or empty is the service's own.
    LPWSTR pwszProvName;
    DWORD dwProvType;
    DWORD dwFlags;
    // Kept with the property and returned, otherwise not read.
    DWORD cProvParam;
    PCRYPT_KEY_PROV_PARAM rgProvParam;
    // AT_SIGNATURE or AT_KEYEXCHANGE; 0 counts as AT_SIGNATURE.
    DWORD dwKeySpec;
} CRYPT_KEY_PROV_INFO, *PCRYPT_KEY_PROV_INFO;

// ---- Algorithms and providers --------------------------------------------------------------------------------------

// One row of the table of algorithms, as CryptFindOIDInfo returns it. Constant, shared by all threads, and valid until
// the process ends: never free it.
typedef struct _CRYPT_OID_INFO {
    DWORD cbSize;
    // The OID and the name of the algorithm, such as "1.2.840.113549.1.1.11" and L"sha256RSA".
    LPCSTR pszOID;
    LPCWSTR pwszName;
    // CRYPT_HASH_ALG_OID_GROUP_ID, CRYPT_PUBKEY_ALG_OID_GROUP_ID or CRYPT_SIGN_ALG_OID_GROUP_ID; it decides how Algid
    // and ExtraInfo are read.
    DWORD dwGroupId;
    union {
        DWORD dwValue;
        // Hash and public key groups: the algorithm itself. Signature group: the hash.
        ALG_ID Algid;
        DWORD dwLength;
    };
    // Signature group: one 32-bit ALG_ID, the public key algorithm. Empty in the other groups.
    CRYPT_DATA_BLOB ExtraInfo;
} CRYPT_OID_INFO, *PCRYPT_OID_INFO;
typedef const CRYPT_OID_INFO* PCCRYPT_OID_INFO;

// One result of CryptGetProvParam(PP_ENUMALGS), 32 octets. Read one record a call, until ERROR_NO_MORE_ITEMS.
typedef struct _PROV_ENUMALGS {
    ALG_ID aiAlgid;
    // The length of a hash in bits; of a key algorithm, its usual length.
    DWORD dwBitLen;
    // The octets of szName in use, with the terminator.
    DWORD dwNameLen;
    char szName[20];
} PROV_ENUMALGS;

// The result of CryptGetProvParam(PP_VERSION_EX), 20 octets. The build number appears in the User-Agent of requests.
typedef struct PROV_VERSION_EX_ {
    DWORD dwBuild;
    DWORD dwReserved[4];
} PROV_VERSION_EX;

// ---- Signed structures ---------------------------------------------------------------------------------------------

// The signature of a response or request (RFC 6960, sections 4.1.1 and 4.2.1), as it was received.
typedef struct _OCSP_SIGNATURE_INFO {
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CRYPT_BIT_BLOB Signature;
    // Certificates that came with the signature; not read.
    DWORD cCertEncoded;
    CERT_BLOB* rgCertEncoded;
} OCSP_SIGNATURE_INFO;

// The subject of CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE: the signed bytes exactly as received, since
// a new encoding could differ, and the signature over them. The library uses it for requests; a response is verified as
// one block of bytes.
typedef struct _OCSP_BASIC_SIGNED_RESPONSE_INFO {
    CRYPT_DER_BLOB ToBeSigned;
    // Algorithm and signature; the certificates are not read.
    OCSP_SIGNATURE_INFO SignatureInfo;
} OCSP_BASIC_SIGNED_RESPONSE_INFO;

// ---- Chains --------------------------------------------------------------------------------------------------------

// A list of extended key usages, as OIDs in dotted decimal.
typedef struct _CERT_ENHKEY_USAGE {
    DWORD cUsageIdentifier;
    // An array of cUsageIdentifier texts.
    LPSTR* rgpszUsageIdentifier;
} CERT_ENHKEY_USAGE;

// Usages that a chain must allow; not read by this service, so callers check usages themselves or through a chain
// policy.
typedef struct _CERT_USAGE_MATCH {
    DWORD dwType;  // USAGE_MATCH_TYPE_AND, USAGE_MATCH_TYPE_OR
    CERT_ENHKEY_USAGE Usage;
} CERT_USAGE_MATCH;

// Parameters of CertGetCertificateChain. The library zeroes the record, sets cbSize and the fields it needs. The usages
// are not read: ask a chain policy. A wrong cbSize gives E_INVALIDARG.
typedef struct _CERT_CHAIN_PARA {
    DWORD cbSize;
    // Not read, like the next.
    CERT_USAGE_MATCH RequestedUsage;
    CERT_USAGE_MATCH RequestedIssuancePolicy;
    // Milliseconds for all downloads of the chain together; 0: that of the engine, else the setting.
    DWORD dwUrlRetrievalTimeout;
    // With TRUE, CRLs whose thisUpdate is older than dwRevocationFreshnessTime seconds are not used.
    BOOL fCheckRevocationFreshnessTime;
    // Seconds. Set fCheckRevocationFreshnessTime, too: by itself it has no effect.
    DWORD dwRevocationFreshnessTime;
    // What was cached before this time is fetched again; null for none.
    FILETIME* pftCacheResync;
} CERT_CHAIN_PARA, *PCERT_CHAIN_PARA;

// The verdict on a chain or one of its elements. Only dwErrorStatus == CERT_TRUST_NO_ERROR means trusted: an unknown
// bit is a fault, too. The verdict is that of the time the chain was built for, and does not change afterward.
typedef struct _CERT_TRUST_STATUS {
    // CERT_TRUST_IS_... and CERT_TRUST_... error bits, combined with |.
    DWORD dwErrorStatus;
    // Info bits, CERT_TRUST_HAS_... and CERT_TRUST_IS_SELF_SIGNED; they never make a chain bad.
    DWORD dwInfoStatus;
} CERT_TRUST_STATUS;

// The result of the revocation check of one element. It belongs to the chain. Fields after dwRevocationResult are not
// written.
typedef struct _CERT_REVOCATION_INFO {
    DWORD cbSize;
    // 0 when CRLs that cover the certificate do not list it, CRYPT_E_REVOKED, or CRYPT_E_NO_REVOCATION_CHECK when the
    // status is unknown for whatever reason. Other implementations may return CRYPT_E_REVOCATION_OFFLINE, too.
    DWORD dwRevocationResult;
    LPCSTR pszRevocationOid;
    void* pvOidSpecificInfo;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
    void* pCrlInfo;  // null here
} CERT_REVOCATION_INFO, *PCERT_REVOCATION_INFO;

// One certificate of a chain. The context belongs to the chain: duplicate it to keep it longer. Element i names element
// i + 1 as its issuer; whether the signature verifies is in the trust status.
typedef struct _CERT_CHAIN_ELEMENT {
    DWORD cbSize;
    PCCERT_CONTEXT pCertContext;
    CERT_TRUST_STATUS TrustStatus;
    // Null when revocation was not checked: the flags of the call did not ask for it, or the element is the self-signed
    // end of the path. Null does not mean "not revoked".
    PCERT_REVOCATION_INFO pRevocationInfo;
    // Not written, like the two fields that follow.
    CERT_ENHKEY_USAGE* pIssuanceUsage;
    CERT_ENHKEY_USAGE* pApplicationUsage;  // null: any
    LPCWSTR pwszExtendedErrorInfo;
} CERT_CHAIN_ELEMENT, *PCERT_CHAIN_ELEMENT;

// A path from the end certificate towards a root, of at least one element. The trust status combines those of the
// elements with bits of its own. Fields after rgpElement are not written.
typedef struct _CERT_SIMPLE_CHAIN {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cElement;
    // The end certificate first; the root, if the path has one, last.
    PCERT_CHAIN_ELEMENT* rgpElement;
    void* pTrustListInfo;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
} CERT_SIMPLE_CHAIN, *PCERT_SIMPLE_CHAIN;

// A number of 128 bits; only a part of CERT_CHAIN_CONTEXT.
typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID;

typedef struct _CERT_CHAIN_CONTEXT CERT_CHAIN_CONTEXT;
typedef const CERT_CHAIN_CONTEXT* PCCERT_CHAIN_CONTEXT;
// The result of CertGetCertificateChain: the best path that was found, even a faulty one. Read-only; valid until
// CertFreeCertificateChain, which any thread may call.
//
//   const CERT_SIMPLE_CHAIN* path = chain->rgpChain[0];
//   for (DWORD i = 0; i < path->cElement; ++i) use(path->rgpElement[i]->pCertContext);
struct _CERT_CHAIN_CONTEXT {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    // Always 1 here.
    DWORD cChain;
    PCERT_SIMPLE_CHAIN* rgpChain;
    // Not written, like the fields that follow except dwCreateFlags, which repeats the flags of the call.
    DWORD cLowerQualityChainContext;
    PCCERT_CHAIN_CONTEXT* rgpLowerQualityChainContext;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
    DWORD dwCreateFlags;
    GUID ChainId;
};

// Parameters of CertCreateCertificateChainEngine. The fields read are rghAdditionalStore with its count, hExclusiveRoot
// and dwUrlRetrievalTimeout; the others may hold anything. The engine keeps references to the stores, so the caller may
// close its own.
typedef struct _CERT_CHAIN_ENGINE_CONFIG {
    DWORD cbSize;
    // Not read, like the next two.
    HCERTSTORE hRestrictedRoot;
    HCERTSTORE hRestrictedTrust;
    HCERTSTORE hRestrictedOther;
    // How many stores rghAdditionalStore has.
    DWORD cAdditionalStore;
    // Intermediate certificates and CRLs. They are candidates only: nothing in these stores is trusted.
    HCERTSTORE* rghAdditionalStore;
    DWORD dwFlags;
    // Milliseconds for the downloads of one chain, unless the call has its own limit; 0: the setting.
    DWORD dwUrlRetrievalTimeout;
    // Not read, like the next.
    DWORD MaximumCachedCertificates;
    DWORD CycleDetectionModulus;
    // When not null, only its certificates are trusted roots: neither the ROOT store nor the system's bundle, nor those
    // of crypto_add_trusted_root.
    HCERTSTORE hExclusiveRoot;
    HCERTSTORE hExclusiveTrustedPeople;
    DWORD dwExclusiveFlags;
} CERT_CHAIN_ENGINE_CONFIG;

// Parameters of CertVerifyCertificateChainPolicy. dwFlags is not read; pvExtraPolicyPara is an OCSPChainPolicyPara for
// the responder policy, and not read for the requestor policy.
typedef struct _CERT_CHAIN_POLICY_PARA {
    DWORD cbSize;
    DWORD dwFlags;
    void* pvExtraPolicyPara;
} CERT_CHAIN_POLICY_PARA;

// The verdict of a policy. The caller sets cbSize and pvExtraPolicyStatus. The other fields are valid only when the
// call returned TRUE. For the responder policy, dwError 0 alone accepts nothing: see OCSPChainPolicyStatus.
typedef struct _CERT_CHAIN_POLICY_STATUS {
    DWORD cbSize;
    // 0, or why the policy rejects the chain: CERT_E_..., TRUST_E_... or CRYPT_E_... of crypto_constants.h.
    DWORD dwError;
    // The chain (0) and the element with the fault, from 0 for the end certificate; -1 when no single one is at fault.
    LONG lChainIndex;
    LONG lElementIndex;
    // Set by the caller: an OCSPChainPolicyStatus, which the call fills, for the responder policy; else null.
    void* pvExtraPolicyStatus;
} CERT_CHAIN_POLICY_STATUS;

// One entry of an OCSP response, the CertID of RFC 6960, section 4.1.1: which issuer it is about. The policy compares
// both hashes with the issuer's name and key under HashAlgorithm.
typedef struct _OCSP_CERT_ID {
    CRYPT_ALGORITHM_IDENTIFIER HashAlgorithm;
    // The hashes of the issuer's Name in DER and of its key, the content of the BIT STRING.
    CRYPT_HASH_BLOB IssuerNameHash;
    CRYPT_HASH_BLOB IssuerKeyHash;
    // Least significant octet first. Not read by the policy.
    CRYPT_INTEGER_BLOB SerialNumber;
} OCSP_CERT_ID, *POCSP_CERT_ID;

// Returns non-zero if the administrator names this certificate as a responder for all issuers. Called during the policy
// call, on its thread, at most once, and only when nothing else authorises the responder; must not throw. A certificate
// for which it returns non-zero may answer for every issuer.
typedef int (*PFN_IS_OCSP_AUTHORIZED)(PCCERT_CONTEXT certificate);

// pvExtraPolicyPara of CERT_CHAIN_POLICY_OCSP_RESPONDER. Everything is read during the call only. A null pProducedAt, a
// wrong cbSize, or entries without both arrays make the call fail with E_INVALIDARG, so that there is no verdict.
typedef struct OCSPChainPolicyPara_ {
    DWORD cbSize;
    // When the response was signed: the certificates must have been valid then. Not null.
    FILETIME* pProducedAt;
    // The entries of the response, for each of which rgAuthorized receives one value.
    DWORD cCertID;
    OCSP_CERT_ID* rgCertID;
    // Null: the administrator names no responder.
    PFN_IS_OCSP_AUTHORIZED pfnIsOCSPAuthorized;
} OCSPChainPolicyPara;

// pvExtraPolicyStatus of CERT_CHAIN_POLICY_OCSP_RESPONDER: what the caller decides by. The caller sets cbSize and
// rgAuthorized. An entry is proven only if the call returned TRUE, CERT_CHAIN_POLICY_STATUS::dwError is 0, dwError here
// has no bit but OCSP_CHAIN_REVOCATION_UNKNOWN, and its value in rgAuthorized is not 0. Whether the bit of unknown
// revocation is acceptable is for the caller to decide: only for a responder that need not be checked.
typedef struct OCSPChainPolicyStatus_ {
    DWORD cbSize;
    DWORD dwError;  // OCSP_CHAIN_... bits
    // Not read or written.
    BYTE rgbReserved[8];
    // Non-zero: a delegate's certificate carries the OCSP no-check extension (RFC 6960, section 4.2.2.2.1), so that it
    // need not be checked itself. It does not exempt the other certificates of the chain.
    DWORD fNoCheck;
    // cCertID values, the caller's array, in the order of rgCertID; non-zero: the responder may answer for the entry.
    // All are 0 when anything rejects the responder.
    int* rgAuthorized;
} OCSPChainPolicyStatus;

// ---- Revocation ----------------------------------------------------------------------------------------------------

// Chain building inside CertVerifyRevocation. Only hChainEngine is read: its roots and stores are used; null is the
// engine of the settings. cbSize is not checked.
typedef struct _CERT_REVOCATION_CHAIN_PARA {
    DWORD cbSize;
    HCERTCHAINENGINE hChainEngine;
    HCERTSTORE hAdditionalStore;
    DWORD dwChainFlags;
    DWORD dwUrlRetrievalTimeout;
    FILETIME* pftCurrentTime;
    FILETIME* pftCacheResync;
    DWORD cbMaxUrlRetrievalByteCount;
} CERT_REVOCATION_CHAIN_PARA;

// Parameters of CertVerifyRevocation, which may be null. Read are pIssuerCert, both kinds of stores,
// dwUrlRetrievalTimeout, the freshness fields, pftCurrentTime, pftCacheResync, and of pChainPara the engine.
typedef struct _CERT_REVOCATION_PARA {
    DWORD cbSize;
    // The issuer of the last or only certificate; null: it is looked up. Its key must have made the certificate's
    // signature; otherwise the status is unknown.
    PCCERT_CONTEXT pIssuerCert;
    // Stores with issuers and CRLs, in addition to the system's; hCrlStore has more CRLs and may be null.
    DWORD cCertStore;
    HCERTSTORE* rgCertStore;
    HCERTSTORE hCrlStore;
    // Not read.
    FILETIME* pftTimeToUse;
    // Milliseconds for the downloads of the call; 0: the setting.
    DWORD dwUrlRetrievalTimeout;
    BOOL fCheckFreshnessTime;
    // Seconds; CRLs with an older thisUpdate are not used when fCheckFreshnessTime is TRUE.
    DWORD dwFreshnessTime;
    // The time for which the status is asked; null: the time of the check, else now.
    FILETIME* pftCurrentTime;
    // Not read.
    void* pCrlInfo;
    // What was cached before this time is fetched again; null for none.
    FILETIME* pftCacheResync;
    // Null: the engine of the settings.
    CERT_REVOCATION_CHAIN_PARA* pChainPara;
} CERT_REVOCATION_PARA;

// The result of CertVerifyRevocation. The caller sets cbSize, the call clears the rest first. The fields after dwReason
// are not written.
typedef struct _CERT_REVOCATION_STATUS {
    DWORD cbSize;
    // The first context that did not pass, from 0; those after it were not checked.
    DWORD dwIndex;
    // 0, CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK or CRYPT_E_REVOCATION_OFFLINE.
    DWORD dwError;
    // The CRLReason (RFC 5280, section 5.3.1), when dwError is CRYPT_E_REVOKED; 0 when the CRL states none.
    DWORD dwReason;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
} CERT_REVOCATION_STATUS;

// ---- Store files ---------------------------------------------------------------------------------------------------

// One item of a store or of the content of a file. All pointers are valid during the callback only: copy what is to be
// kept.
typedef struct CRYPTO_STORE_ITEM_ {
    DWORD cbSize;
    // CRYPTO_STORE_ITEM_CERTIFICATE, _CRL, _OTHER or _BROKEN. The last two are problems.
    DWORD dwKind;
    // The file, or the directory that a problem concerns; empty for content without a name.
    LPCSTR szPath;
    // Of a certificate or CRL: its DER, decoded from PEM where necessary. Else null, with cbEncoded 0.
    const BYTE* pbEncoded;
    DWORD cbEncoded;
    // Of a problem: it may be a CRL, so no certificate counts as "not revoked" as long as it is there.
    BOOL fMayBeCrl;
    // Of a problem: what is wrong, phrased to follow the name of the file ("cannot be read: Permission denied"); else
    // null.
    LPCSTR szProblem;
} CRYPTO_STORE_ITEM;

// Receives one item; `pvContext` is the caller's. Called on the thread of the call; must not throw.
typedef void (*PFN_CRYPTO_STORE_ITEM)(const CRYPTO_STORE_ITEM* pItem, void* pvContext);

// ---- Exchange ------------------------------------------------------------------------------------------------------

// The result of CryptRetrieveObjectByUrlW: one block from malloc that contains the array and its bytes. Release it with
// one free(); never free rgBlob or pbData. cBlob is 1 here.
typedef struct _CRYPT_BLOB_ARRAY {
    DWORD cBlob;
    CRYPT_DATA_BLOB* rgBlob;
} CRYPT_BLOB_ARRAY;

// More about a call of CryptRetrieveObjectByUrlW; clear it before the call, since nothing is written for a response
// from the cache. Fields without a comment are not read or written.
typedef struct _CRYPT_RETRIEVE_AUX_INFO {
    DWORD cbSize;
    // Receives the time at which the response arrived from the network; may be null.
    FILETIME* pLastSyncTime;
    DWORD dwMaxUrlRetrievalByteCount;
    void* pPreFetchInfo;
    void* pFlushInfo;
    void** ppResponseInfo;
    LPWSTR pwszCacheFileNamePrefix;
    // Responses cached before this time are not used; null: no such limit.
    FILETIME* pftCacheResync;
    BOOL fProxyCacheRetrieval;
    // Receives the HTTP status of an exchange; 0 when no response arrived.
    DWORD dwHttpStatusCode;
    LPWSTR* ppwszErrorResponseHeaders;
    CRYPT_DATA_BLOB** ppErrorContentBlob;
} CRYPT_RETRIEVE_AUX_INFO;

// The bytes of SendPKIRequest, one record for each direction. The caller clears the one for the response and releases
// its data with delete[], also when the HTTP status is an error: such responses may have a body.
typedef struct PKI_EXCHANGE_BUFFER_ {
    // Octets in use.
    DWORD size;
    // From the array form of new; null when empty.
    BYTE* data;
    // Octets allocated at data.
    DWORD capacity;
} PKI_EXCHANGE_BUFFER;

// Called for each redirect of a responder before it is followed: the address it leads to, and the HTTP status (301,
// 302, 307, 308). TRUE follows it, FALSE ends the exchange with ERROR_HTTP_REDIRECT_FAILED. Called on the thread of the
// check; the text is valid during the call only. Must not throw.
typedef BOOL (*PFN_CRYPTO_ON_REDIRECT)(void* pvContext, LPCWSTR pwszTarget, DWORD dwHttpStatus);

// What CRYPTO_NOTE tells.
#define CRYPTO_NOTE_DOWNLOAD 1  // an issuer, a CRL or a response was asked for
#define CRYPTO_NOTE_CRL 2       // the revocation status of a certificate was looked up
#define CRYPTO_NOTE_CHAIN 3     // a chain was built
#define CRYPTO_NOTE_LOST 4      // memory is exhausted: something was not told

// What a download was for.
#define CRYPTO_NOTE_FOR_ISSUER 1
#define CRYPTO_NOTE_FOR_CRL 2
#define CRYPTO_NOTE_FOR_RESPONSE 3

// What happened during a check, for messages to people. Everything is valid during the call only; texts are UTF-8 and
// never null, and may contain any character.
typedef struct _CRYPTO_NOTE {
    DWORD cbSize;
    // CRYPTO_NOTE_DOWNLOAD, ..._CRL, ..._CHAIN or ..._LOST. Fields that the kind does not name are 0, null or empty.
    DWORD dwKind;
    // DOWNLOAD: what it was for, CRYPTO_NOTE_FOR_....
    DWORD dwPurpose;
    // DOWNLOAD: the last error, 0 when it succeeded. CRL: 0 when not revoked, CRYPT_E_REVOKED, or
    // CRYPT_E_NO_REVOCATION_CHECK.
    DWORD dwError;
    // DOWNLOAD: the address without a login.
    LPCSTR szUrl;
    // DOWNLOAD: the reason of a failure in words, such as that of the TLS library. CRL: why the status is unknown, such
    // as "the newest CRL expired on 2026-11-22T10:00:00Z"; of a revoked certificate "since " and the date. May be
    // empty.
    LPCSTR szReason;
    // DOWNLOAD: 0 when no HTTP response came.
    DWORD dwHttpStatus;
    // DOWNLOAD: how long it took.
    DWORD dwMilliseconds;
    // DOWNLOAD: whether the proxy failed rather than the server.
    BOOL fAtProxy;
    // DOWNLOAD: whether it came from the cache.
    BOOL fFromCache;
    // CRL: the certificate whose status was looked up.
    PCCERT_CONTEXT pCertificate;
    // CRL: the DER CRL that decided, or the newest that could not be used; null when there was none.
    const BYTE* pbCrl;
    DWORD cbCrl;
    // CHAIN: what CertGetCertificateChain returns.
    PCCERT_CHAIN_CONTEXT pChain;
} CRYPTO_NOTE;

// Called on the thread of the check. Must not throw, and must not use the service.
typedef void (*PFN_CRYPTO_ON_NOTE)(void* pvContext, const CRYPTO_NOTE* pNote);

// The rules of one check on one thread: see crypto_begin_check. The caller fills the fields up to pvOnNote; zero is a
// valid value of hRoots, pTime, dwTimeout, pfnOnNote and pvOnNote. The service fills the rest, which the caller reads
// before or after crypto_end_check. The record stays in use, and must stay where it is, until crypto_end_check; it may
// then be used for the next check.
//
//   CRYPTO_CHECK check = {0};
//   check.cbSize = sizeof check;
//   check.pwszProxy = check.pwszProxyCredentials = L"";        // never null
//   if (crypto_begin_check(&check)) { ...; crypto_end_check(&check); }
typedef struct _CRYPTO_CHECK {
    DWORD cbSize;
    // CRYPTO_CHECK_... bits, combined with |.
    DWORD dwFlags;
    // The proxy for downloads of issuers and CRLs; empty: none. The proxy of the responder is given to SendPKIRequest.
    LPCWSTR pwszProxy;
    // The login at that proxy, "name:password"; empty: none.
    LPCWSTR pwszProxyCredentials;
    // CRYPTO_AUTH_... bits that a login in the responder's address may use; 0: the login is not sent.
    DWORD dwAuthSchemes;
    // The same for a login at the proxy.
    DWORD dwProxyAuthSchemes;
    // Null: every redirect is followed, as far as the limits and rules of the service allow.
    PFN_CRYPTO_ON_REDIRECT pfnOnRedirect;
    // The caller's own; passed to pfnOnRedirect.
    void* pvOnRedirect;
    // Self-issued certificates in this store are trusted as roots, in addition to others, except by an engine with
    // exclusive roots; its other certificates and its CRLs are used like those of an additional store. Stays open until
    // crypto_end_check. Null: the store of the check around this one, if any.
    HCERTSTORE hRoots;
    // Chains, certificates and CRLs are evaluated for this time wherever a call passes none. A certificate is "not
    // revoked" only by a CRL in force at this time, and revoked by an entry that is not dated after it, in a CRL issued
    // then or later. Null: the time of the check around this one, else now. The network, the cache's ages and the time
    // limits keep the present time.
    const FILETIME* pTime;
    // Milliseconds for the whole check; 0: the setting check_timeout_ms. Never more than the check around it has left.
    DWORD dwTimeout;
    // The listener for what happens during the check. Null: that of the check around this one, if any.
    PFN_CRYPTO_ON_NOTE pfnOnNote;
    // The caller's own; passed to pfnOnNote.
    void* pvOnNote;
    // Receives max_responders: how many responders of one certificate the caller should ask.
    DWORD cMaxResponders;
    // Receives how many downloads were skipped because a limit was reached, those of inner checks included.
    DWORD cSkippedDownloads;
    // Receives whether the last CryptRetrieveObjectByUrlW of the check used the cache.
    BOOL fAnsweredFromCache;
    // The service's own, as is the next; do not change them during the check.
    unsigned long long qwDeadline;
    struct _CRYPTO_CHECK* pOuter;
} CRYPTO_CHECK;

#ifdef __cplusplus
}  // extern "C"

static_assert(sizeof(CRYPT_DATA_BLOB) == 16);
static_assert(sizeof(CRYPT_ALGORITHM_IDENTIFIER) == 24);
static_assert(sizeof(CERT_CHAIN_PARA) == 80);
static_assert(sizeof(CERT_CHAIN_POLICY_PARA) == 16);
static_assert(sizeof(CERT_CHAIN_POLICY_STATUS) == 24);
static_assert(sizeof(OCSP_CERT_ID) == 72);
static_assert(sizeof(OCSPChainPolicyPara) == 40);
static_assert(sizeof(OCSPChainPolicyStatus) == 32);
static_assert(sizeof(CERT_REVOCATION_CHAIN_PARA) == 56);
static_assert(sizeof(CERT_REVOCATION_PARA) == 96);
static_assert(sizeof(CERT_REVOCATION_STATUS) == 24);
static_assert(sizeof(CRYPT_RETRIEVE_AUX_INFO) == 88);
static_assert(sizeof(PKI_EXCHANGE_BUFFER) == 24);
static_assert(offsetof(PKI_EXCHANGE_BUFFER, data) == 8 && offsetof(PKI_EXCHANGE_BUFFER, capacity) == 16);
static_assert(offsetof(CRYPT_BLOB_ARRAY, rgBlob) == 8 && offsetof(CRYPT_DATA_BLOB, pbData) == 8);
static_assert(sizeof(PROV_ENUMALGS) == 32);
static_assert(sizeof(PROV_VERSION_EX) == 20);
#endif
