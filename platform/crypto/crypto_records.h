// The records of the Crypto service: the public CryptoAPI shapes with native pointers, so that an implementation made
// elsewhere fits. The function that returns a record documents who owns what it points to (crypto_service.h). Records
// that grow carry their size in octets in a first field cbSize, which the caller sets and the service checks; the sizes
// are checked at the end of this file.
//
// General rules, unless a field says otherwise: - text is terminated; LPCSTR is UTF-8, LPCWSTR 32-bit characters; OIDs
// are dotted decimal text; - sizes are octets, counts are elements; a pointer with a count of 0 may be null; - times
// are UTC, FILETIME ticks of 100 nanoseconds since 1601; - "not read" means that this service ignores what the caller
// writes, "not written" that it leaves 0 or null.
#pragma once

#include "platform/support/support_service.h"

#ifdef __cplusplus
extern "C" {
#endif

// The number of an algorithm, CALG_... in crypto_constants.h; 0 for an unknown one.
typedef unsigned int ALG_ID;
// Handles. Each is released by the function of its kind; a handle of one kind is never valid as another.
typedef unsigned long long HCRYPTPROV;  // handles of keys and providers are whole numbers, 0 for none
typedef unsigned long long HCRYPTKEY;
typedef unsigned long long HCRYPTHASH;
typedef void* HCERTSTORE;
typedef void* HCERTCHAINENGINE;  // null: the engine of the settings

// Bytes and their number. The names say what the bytes are: any data, an integer (least significant octet first), DER,
// a hash, a DER Name, a certificate, a CRL. In arguments the bytes stay the caller's; in results they belong to the
// record that contains the blob.
typedef struct _CRYPTOAPI_BLOB {
    DWORD cbData;
    BYTE* pbData;
} CRYPT_DATA_BLOB, CRYPT_INTEGER_BLOB, CRYPT_OBJID_BLOB, CRYPT_DER_BLOB, CRYPT_HASH_BLOB, CERT_NAME_BLOB, CERT_BLOB,
    CRL_BLOB;

// The content of a BIT STRING (X.690, clause 8.6), without the octet that counts unused bits.
typedef struct _CRYPT_BIT_BLOB {
    DWORD cbData;
    BYTE* pbData;  // in the order of the BIT STRING
    // Bits at the end of the last octet that do not count, 0 to 7.
    DWORD cUnusedBits;
} CRYPT_BIT_BLOB;

// AlgorithmIdentifier (RFC 5280, section 4.1.1.2).
typedef struct _CRYPT_ALGORITHM_IDENTIFIER {
    LPSTR pszObjId;               // dotted decimal
    CRYPT_OBJID_BLOB Parameters;  // DER; empty when absent
} CRYPT_ALGORITHM_IDENTIFIER, *PCRYPT_ALGORITHM_IDENTIFIER;

// ---- Certificates --------------------------------------------------------------------------------------------------

// SubjectPublicKeyInfo (RFC 5280, section 4.1.2.7). The key is not checked when a certificate is read.
typedef struct _CERT_PUBLIC_KEY_INFO {
    CRYPT_ALGORITHM_IDENTIFIER Algorithm;
    CRYPT_BIT_BLOB PublicKey;
} CERT_PUBLIC_KEY_INFO, *PCERT_PUBLIC_KEY_INFO;

// Extension (RFC 5280, section 4.1). A critical one that the reader does not know makes the certificate unusable.
typedef struct _CERT_EXTENSION {
    LPSTR pszObjId;
    BOOL fCritical;
    CRYPT_OBJID_BLOB Value;  // the content of extnValue
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
// All pointers refer to memory of the context that contains the record, and are valid as long as it.
typedef struct _CERT_INFO {
    DWORD dwVersion;                  // 0 for v1, 2 for v3
    CRYPT_INTEGER_BLOB SerialNumber;  // least significant byte first
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CERT_NAME_BLOB Issuer;  // the whole DER Name, as in the certificate
    FILETIME NotBefore;
    FILETIME NotAfter;
    CERT_NAME_BLOB Subject;
    CERT_PUBLIC_KEY_INFO SubjectPublicKeyInfo;
    // Empty when absent, as they are in almost every certificate.
    CRYPT_BIT_BLOB IssuerUniqueId;
    CRYPT_BIT_BLOB SubjectUniqueId;
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;  // null when there are none
} CERT_INFO, *PCERT_INFO;

// A certificate with its reference count: everything in it is read-only and valid until the last reference is freed
// with CertFreeCertificateContext. Properties are read with CertGetCertificateContextProperty.
typedef struct _CERT_CONTEXT {
    // Always X509_ASN_ENCODING.
    DWORD dwCertEncodingType;
    // The DER certificate, exactly as received.
    BYTE* pbCertEncoded;
    DWORD cbCertEncoded;
    PCERT_INFO pCertInfo;
    HCERTSTORE hCertStore;  // the store that the context came from, valid while that store is open; null for none
} CERT_CONTEXT, *PCERT_CONTEXT;
typedef const CERT_CONTEXT* PCCERT_CONTEXT;

typedef struct _CRL_CONTEXT CRL_CONTEXT;  // opaque: CRLs can be added to stores but are never returned
typedef const CRL_CONTEXT* PCCRL_CONTEXT;

// A parameter for the provider of a key. Stored and returned with the property; this service does not interpret it.
typedef struct _CRYPT_KEY_PROV_PARAM {
    DWORD dwParam;
    BYTE* pbData;
    DWORD cbData;
    DWORD dwFlags;
} CRYPT_KEY_PROV_PARAM, *PCRYPT_KEY_PROV_PARAM;

// Where the private key of a certificate is: the property CERT_KEY_PROV_INFO_PROP_ID. Setting the property copies
// everything; reading it returns one block whose pointers refer into the caller's buffer.
typedef struct _CRYPT_KEY_PROV_INFO {
    LPWSTR pwszContainerName;  // the URI of the key, or the path of its file
    LPWSTR pwszProvName;       // null or empty: the service's own
    DWORD dwProvType;
    DWORD dwFlags;
    DWORD cProvParam;
    PCRYPT_KEY_PROV_PARAM rgProvParam;
    // AT_SIGNATURE or AT_KEYEXCHANGE; 0 counts as AT_SIGNATURE.
    DWORD dwKeySpec;
} CRYPT_KEY_PROV_INFO, *PCRYPT_KEY_PROV_INFO;

// ---- Algorithms and providers --------------------------------------------------------------------------------------

// One row of the table of algorithms. Constant, and valid until the process ends.
typedef struct _CRYPT_OID_INFO {
    DWORD cbSize;
    LPCSTR pszOID;
    LPCWSTR pwszName;
    // CRYPT_HASH_ALG_OID_GROUP_ID, CRYPT_PUBKEY_ALG_OID_GROUP_ID or CRYPT_SIGN_ALG_OID_GROUP_ID; it decides how Algid
    // and ExtraInfo are read.
    DWORD dwGroupId;
    union {
        DWORD dwValue;
        ALG_ID Algid;  // signature group: the hash
        DWORD dwLength;
    };
    CRYPT_DATA_BLOB ExtraInfo;  // signature group: one 32-bit ALG_ID, the public key algorithm
} CRYPT_OID_INFO, *PCRYPT_OID_INFO;
typedef const CRYPT_OID_INFO* PCCRYPT_OID_INFO;

// One result of CryptGetProvParam(PP_ENUMALGS).
typedef struct _PROV_ENUMALGS {
    ALG_ID aiAlgid;
    // The length of a hash in bits; of a key algorithm, its usual length.
    DWORD dwBitLen;
    DWORD dwNameLen;  // with the terminator
    char szName[20];
} PROV_ENUMALGS;

// The result of CryptGetProvParam(PP_VERSION_EX). The build number appears in the User-Agent of requests.
typedef struct PROV_VERSION_EX_ {
    DWORD dwBuild;
    DWORD dwReserved[4];
} PROV_VERSION_EX;

// ---- Signed structures ---------------------------------------------------------------------------------------------

// The signature of a response or request (RFC 6960, sections 4.1.1 and 4.2.1).
typedef struct _OCSP_SIGNATURE_INFO {
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CRYPT_BIT_BLOB Signature;
    // Certificates that came with the signature; not read.
    DWORD cCertEncoded;
    CERT_BLOB* rgCertEncoded;
} OCSP_SIGNATURE_INFO;

// The subject of CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE: the signed bytes exactly as received, since
// a new encoding could differ, and the signature over them.
typedef struct _OCSP_BASIC_SIGNED_RESPONSE_INFO {
    CRYPT_DER_BLOB ToBeSigned;
    OCSP_SIGNATURE_INFO SignatureInfo;  // the certificates are not read
} OCSP_BASIC_SIGNED_RESPONSE_INFO;

// ---- Chains --------------------------------------------------------------------------------------------------------

// A list of extended key usages.
typedef struct _CERT_ENHKEY_USAGE {
    DWORD cUsageIdentifier;
    LPSTR* rgpszUsageIdentifier;
} CERT_ENHKEY_USAGE;

// Usages that a chain must allow; not read by this service, so callers check usages themselves or through a chain
// policy.
typedef struct _CERT_USAGE_MATCH {
    DWORD dwType;  // USAGE_MATCH_TYPE_AND, USAGE_MATCH_TYPE_OR
    CERT_ENHKEY_USAGE Usage;
} CERT_USAGE_MATCH;

// Parameters of CertGetCertificateChain. The library zeroes the record, sets cbSize and the fields it needs.
typedef struct _CERT_CHAIN_PARA {
    DWORD cbSize;
    CERT_USAGE_MATCH RequestedUsage;
    CERT_USAGE_MATCH RequestedIssuancePolicy;
    DWORD dwUrlRetrievalTimeout;  // milliseconds for the whole chain; 0: the setting
    // With TRUE, CRLs whose thisUpdate is older than dwRevocationFreshnessTime seconds are not used.
    BOOL fCheckRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;  // seconds
    FILETIME* pftCacheResync;         // what was cached before this time is fetched again; null for none
} CERT_CHAIN_PARA, *PCERT_CHAIN_PARA;

// The verdict on a chain or one of its elements. Only dwErrorStatus == CERT_TRUST_NO_ERROR means trusted.
typedef struct _CERT_TRUST_STATUS {
    DWORD dwErrorStatus;  // CERT_TRUST_IS_... and CERT_TRUST_... error bits
    // Info bits, CERT_TRUST_HAS_... and CERT_TRUST_IS_SELF_SIGNED; they never make a chain bad.
    DWORD dwInfoStatus;
} CERT_TRUST_STATUS;

// The result of the revocation check of one element. Fields after dwRevocationResult are not written.
typedef struct _CERT_REVOCATION_INFO {
    DWORD cbSize;
    DWORD dwRevocationResult;  // 0, CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK or CRYPT_E_REVOCATION_OFFLINE
    LPCSTR pszRevocationOid;
    void* pvOidSpecificInfo;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
    void* pCrlInfo;  // null here
} CERT_REVOCATION_INFO, *PCERT_REVOCATION_INFO;

// One certificate of a chain. The context belongs to the chain: duplicate it to keep it longer.
typedef struct _CERT_CHAIN_ELEMENT {
    DWORD cbSize;
    PCCERT_CONTEXT pCertContext;
    CERT_TRUST_STATUS TrustStatus;
    PCERT_REVOCATION_INFO pRevocationInfo;  // null when revocation was not checked
    // Not written, like the two fields that follow.
    CERT_ENHKEY_USAGE* pIssuanceUsage;
    CERT_ENHKEY_USAGE* pApplicationUsage;  // null: any
    LPCWSTR pwszExtendedErrorInfo;
} CERT_CHAIN_ELEMENT, *PCERT_CHAIN_ELEMENT;

// A path from the end certificate towards a root. Fields after rgpElement are not written.
typedef struct _CERT_SIMPLE_CHAIN {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cElement;
    PCERT_CHAIN_ELEMENT* rgpElement;  // the end certificate first
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
// CertFreeCertificateChain.
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
// and dwUrlRetrievalTimeout; the engine keeps references to the stores.
typedef struct _CERT_CHAIN_ENGINE_CONFIG {
    DWORD cbSize;
    HCERTSTORE hRestrictedRoot;
    HCERTSTORE hRestrictedTrust;
    HCERTSTORE hRestrictedOther;
    DWORD cAdditionalStore;
    HCERTSTORE* rghAdditionalStore;  // intermediate certificates and CRLs
    DWORD dwFlags;
    // Milliseconds for the downloads of one chain, unless the call has its own limit; 0: the setting.
    DWORD dwUrlRetrievalTimeout;
    DWORD MaximumCachedCertificates;
    DWORD CycleDetectionModulus;
    HCERTSTORE hExclusiveRoot;  // when not null, only its certificates are trusted roots
    HCERTSTORE hExclusiveTrustedPeople;
    DWORD dwExclusiveFlags;
} CERT_CHAIN_ENGINE_CONFIG;

// Parameters of CertVerifyCertificateChainPolicy. dwFlags is not read; pvExtraPolicyPara is an OCSPChainPolicyPara for
// the responder policy.
typedef struct _CERT_CHAIN_POLICY_PARA {
    DWORD cbSize;
    DWORD dwFlags;
    void* pvExtraPolicyPara;
} CERT_CHAIN_POLICY_PARA;

// The verdict of a policy. Valid only when the call returned TRUE.
typedef struct _CERT_CHAIN_POLICY_STATUS {
    DWORD cbSize;
    DWORD dwError;  // 0, or why the policy rejects the chain
    // The chain (0) and the element with the fault, from 0 for the end certificate; -1 when no single one is at fault.
    LONG lChainIndex;
    LONG lElementIndex;
    // Set by the caller: an OCSPChainPolicyStatus for the responder policy.
    void* pvExtraPolicyStatus;
} CERT_CHAIN_POLICY_STATUS;

// One entry of an OCSP response, the CertID of RFC 6960, section 4.1.1.
typedef struct _OCSP_CERT_ID {
    CRYPT_ALGORITHM_IDENTIFIER HashAlgorithm;
    CRYPT_HASH_BLOB IssuerNameHash;
    CRYPT_HASH_BLOB IssuerKeyHash;
    CRYPT_INTEGER_BLOB SerialNumber;  // least significant byte first
} OCSP_CERT_ID, *POCSP_CERT_ID;

// Returns non-zero if the administrator names this certificate as a responder for all issuers. Called during the policy
// call, on its thread; must not throw.
typedef int (*PFN_IS_OCSP_AUTHORIZED)(PCCERT_CONTEXT certificate);

// pvExtraPolicyPara of CERT_CHAIN_POLICY_OCSP_RESPONDER. Everything is read during the call only.
typedef struct OCSPChainPolicyPara_ {
    DWORD cbSize;
    // When the response was signed: the certificates must have been valid then. Not null.
    FILETIME* pProducedAt;
    // The entries of the response, for each of which rgAuthorized receives one value.
    DWORD cCertID;
    OCSP_CERT_ID* rgCertID;
    PFN_IS_OCSP_AUTHORIZED pfnIsOCSPAuthorized;  // null: none is
} OCSPChainPolicyPara;

// pvExtraPolicyStatus of CERT_CHAIN_POLICY_OCSP_RESPONDER: what the caller decides by. An entry is proven only if
// dwError has no bit but OCSP_CHAIN_REVOCATION_UNKNOWN and its value in rgAuthorized is not 0.
typedef struct OCSPChainPolicyStatus_ {
    DWORD cbSize;
    DWORD dwError;  // OCSP_CHAIN_... bits
    // Not read or written.
    BYTE rgbReserved[8];
    DWORD fNoCheck;     // non-zero: the certificate carries the OCSP no-check mark
    int* rgAuthorized;  // cCertID values, the caller's; non-zero: the responder may answer for the entry
} OCSPChainPolicyStatus;

// ---- Revocation ----------------------------------------------------------------------------------------------------

// Chain building inside CertVerifyRevocation; not read.
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

// Parameters of CertVerifyRevocation. Read are pIssuerCert, both kinds of stores, dwUrlRetrievalTimeout, the freshness
// fields, pftCurrentTime and pftCacheResync.
typedef struct _CERT_REVOCATION_PARA {
    DWORD cbSize;
    // The issuer of the last or only certificate; null: it is looked up.
    PCCERT_CONTEXT pIssuerCert;
    // Stores with issuers and CRLs, in addition to the system's; hCrlStore has more CRLs and may be null.
    DWORD cCertStore;
    HCERTSTORE* rgCertStore;
    HCERTSTORE hCrlStore;
    FILETIME* pftTimeToUse;
    // Milliseconds for the downloads of the call; 0: the setting.
    DWORD dwUrlRetrievalTimeout;
    BOOL fCheckFreshnessTime;
    // Seconds; CRLs with an older thisUpdate are not used when fCheckFreshnessTime is TRUE.
    DWORD dwFreshnessTime;
    // The time for which the status is asked; null: now.
    FILETIME* pftCurrentTime;
    void* pCrlInfo;
    FILETIME* pftCacheResync;
    CERT_REVOCATION_CHAIN_PARA* pChainPara;
} CERT_REVOCATION_PARA;

// The result of CertVerifyRevocation. The fields after dwReason are not written.
typedef struct _CERT_REVOCATION_STATUS {
    DWORD cbSize;
    DWORD dwIndex;  // the first context that did not pass
    // 0, CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK or CRYPT_E_REVOCATION_OFFLINE.
    DWORD dwError;
    DWORD dwReason;  // CRLReason, when revoked
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
} CERT_REVOCATION_STATUS;

// ---- Store files ---------------------------------------------------------------------------------------------------

// One item of a store or of the content of a file. All pointers are valid during the callback only.
typedef struct CRYPTO_STORE_ITEM_ {
    DWORD cbSize;
    DWORD dwKind;           // CRYPTO_STORE_ITEM_...
    LPCSTR szPath;          // the file, or the directory that a problem concerns; empty for content without a name
    const BYTE* pbEncoded;  // of a certificate or CRL: its DER; else null
    DWORD cbEncoded;
    BOOL fMayBeCrl;    // of a problem: it may be a CRL, so no certificate counts as "not revoked"
    LPCSTR szProblem;  // of a problem: what is wrong, phrased to follow the name of the file; else null
} CRYPTO_STORE_ITEM;

// Receives one item; `pvContext` is the caller's. Called on the thread of the call; must not throw.
typedef void (*PFN_CRYPTO_STORE_ITEM)(const CRYPTO_STORE_ITEM* pItem, void* pvContext);

// ---- Exchange ------------------------------------------------------------------------------------------------------

// The result of CryptRetrieveObjectByUrlW: one block from malloc that contains the array and its bytes.
typedef struct _CRYPT_BLOB_ARRAY {
    DWORD cBlob;
    CRYPT_DATA_BLOB* rgBlob;
} CRYPT_BLOB_ARRAY;

// More about a call of CryptRetrieveObjectByUrlW. Fields without a comment are not read or written.
typedef struct _CRYPT_RETRIEVE_AUX_INFO {
    DWORD cbSize;
    FILETIME* pLastSyncTime;  // receives the time at which the response arrived from the network; may be null
    DWORD dwMaxUrlRetrievalByteCount;
    void* pPreFetchInfo;
    void* pFlushInfo;
    void** ppResponseInfo;
    LPWSTR pwszCacheFileNamePrefix;
    // Responses cached before this time are not used; null: no such limit.
    FILETIME* pftCacheResync;
    BOOL fProxyCacheRetrieval;
    DWORD dwHttpStatusCode;  // receives the HTTP status; 0 when no response arrived
    LPWSTR* ppwszErrorResponseHeaders;
    CRYPT_DATA_BLOB** ppErrorContentBlob;
} CRYPT_RETRIEVE_AUX_INFO;

// The bytes of SendPKIRequest, one record for each direction.
typedef struct PKI_EXCHANGE_BUFFER_ {
    DWORD size;      // bytes in use
    BYTE* data;      // from the array form of new; null when empty
    DWORD capacity;  // bytes allocated
} PKI_EXCHANGE_BUFFER;

// Called for each redirect of a responder before it is followed: the address it leads to, and the HTTP status (301,
// 302, 307, 308). TRUE follows it, FALSE ends the exchange. Must not throw.
typedef BOOL (*PFN_CRYPTO_ON_REDIRECT)(void* pvContext, LPCWSTR pwszTarget, DWORD dwHttpStatus);

// The rules of one check on one thread: see crypto_begin_check. The caller fills the fields up to dwTimeout; zero is a
// valid value of hRoots, pTime and dwTimeout. The service fills the rest, which the caller reads before or after
// crypto_end_check.
typedef struct _CRYPTO_CHECK {
    DWORD cbSize;
    DWORD dwFlags;                         // CRYPTO_CHECK_... bits
    LPCWSTR pwszProxy;                     // of downloads; empty: none
    LPCWSTR pwszProxyCredentials;          // "name:password"; empty: none
    DWORD dwAuthSchemes;                   // CRYPTO_AUTH_... bits that a login in the responder's address may use
    DWORD dwProxyAuthSchemes;              // the same for a login at the proxy
    PFN_CRYPTO_ON_REDIRECT pfnOnRedirect;  // null: every redirect is followed
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
    DWORD cMaxResponders;           // receives max_responders
    DWORD cSkippedDownloads;        // receives how many downloads were skipped because a limit was reached
    BOOL fAnsweredFromCache;        // receives whether the last CryptRetrieveObjectByUrlW of the check used the cache
    unsigned long long qwDeadline;  // the service's own, as is the next
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
