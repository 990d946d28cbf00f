// The records of the Crypto service: the public CryptoAPI shapes with native pointers, so that an implementation made
// elsewhere fits. The function that returns a record documents who owns what it points to (crypto_service.h).
// Records that grow carry their size in a first field cbSize; the sizes are checked at the end.
#pragma once

#include "platform/support/support_service.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned int ALG_ID;
typedef unsigned long long HCRYPTPROV;  // handles of keys and providers are whole numbers, 0 for none
typedef unsigned long long HCRYPTKEY;
typedef unsigned long long HCRYPTHASH;
typedef void* HCERTSTORE;
typedef void* HCERTCHAINENGINE;  // null: the engine of the settings

// Bytes and their number.
typedef struct _CRYPTOAPI_BLOB {
    DWORD cbData;
    BYTE* pbData;
} CRYPT_DATA_BLOB, CRYPT_INTEGER_BLOB, CRYPT_OBJID_BLOB, CRYPT_DER_BLOB, CRYPT_HASH_BLOB, CERT_NAME_BLOB, CERT_BLOB,
    CRL_BLOB;

typedef struct _CRYPT_BIT_BLOB {
    DWORD cbData;
    BYTE* pbData;  // in the order of the BIT STRING
    DWORD cUnusedBits;
} CRYPT_BIT_BLOB;

typedef struct _CRYPT_ALGORITHM_IDENTIFIER {
    LPSTR pszObjId;               // dotted decimal
    CRYPT_OBJID_BLOB Parameters;  // DER; empty when absent
} CRYPT_ALGORITHM_IDENTIFIER, *PCRYPT_ALGORITHM_IDENTIFIER;

// ---- Certificates --------------------------------------------------------------------------------------------------

typedef struct _CERT_PUBLIC_KEY_INFO {
    CRYPT_ALGORITHM_IDENTIFIER Algorithm;
    CRYPT_BIT_BLOB PublicKey;
} CERT_PUBLIC_KEY_INFO, *PCERT_PUBLIC_KEY_INFO;

typedef struct _CERT_EXTENSION {
    LPSTR pszObjId;
    BOOL fCritical;
    CRYPT_OBJID_BLOB Value;  // the content of extnValue
} CERT_EXTENSION, *PCERT_EXTENSION;

typedef struct _CERT_INFO {
    DWORD dwVersion;                  // 0 for v1, 2 for v3
    CRYPT_INTEGER_BLOB SerialNumber;  // least significant byte first
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CERT_NAME_BLOB Issuer;  // the whole DER Name, as in the certificate
    FILETIME NotBefore;
    FILETIME NotAfter;
    CERT_NAME_BLOB Subject;
    CERT_PUBLIC_KEY_INFO SubjectPublicKeyInfo;
    CRYPT_BIT_BLOB IssuerUniqueId;
    CRYPT_BIT_BLOB SubjectUniqueId;
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;  // null when there are none
} CERT_INFO, *PCERT_INFO;

typedef struct _CERT_CONTEXT {
    DWORD dwCertEncodingType;
    BYTE* pbCertEncoded;
    DWORD cbCertEncoded;
    PCERT_INFO pCertInfo;
    HCERTSTORE hCertStore;  // the store that the context came from, valid while that store is open; null for none
} CERT_CONTEXT, *PCERT_CONTEXT;
typedef const CERT_CONTEXT* PCCERT_CONTEXT;

typedef struct _CRL_CONTEXT CRL_CONTEXT;  // opaque: CRLs can be added to stores but are never returned
typedef const CRL_CONTEXT* PCCRL_CONTEXT;

typedef struct _CRYPT_KEY_PROV_PARAM {
    DWORD dwParam;
    BYTE* pbData;
    DWORD cbData;
    DWORD dwFlags;
} CRYPT_KEY_PROV_PARAM, *PCRYPT_KEY_PROV_PARAM;

// Where the private key of a certificate is: property CERT_KEY_PROV_INFO_PROP_ID.
typedef struct _CRYPT_KEY_PROV_INFO {
    LPWSTR pwszContainerName;  // the URI of the key, or the path of its file
    LPWSTR pwszProvName;       // null or empty: the service's own
    DWORD dwProvType;
    DWORD dwFlags;
    DWORD cProvParam;
    PCRYPT_KEY_PROV_PARAM rgProvParam;
    DWORD dwKeySpec;
} CRYPT_KEY_PROV_INFO, *PCRYPT_KEY_PROV_INFO;

// ---- Algorithms and providers --------------------------------------------------------------------------------------

typedef struct _CRYPT_OID_INFO {
    DWORD cbSize;
    LPCSTR pszOID;
    LPCWSTR pwszName;
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
    DWORD dwBitLen;
    DWORD dwNameLen;  // with the terminator
    char szName[20];
} PROV_ENUMALGS;

// The result of CryptGetProvParam(PP_VERSION_EX).
typedef struct PROV_VERSION_EX_ {
    DWORD dwBuild;
    DWORD dwReserved[4];
} PROV_VERSION_EX;

// ---- Signed structures ---------------------------------------------------------------------------------------------

typedef struct _OCSP_SIGNATURE_INFO {
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CRYPT_BIT_BLOB Signature;
    DWORD cCertEncoded;
    CERT_BLOB* rgCertEncoded;
} OCSP_SIGNATURE_INFO;

// What CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE names: the signed bytes where they were received.
typedef struct _OCSP_BASIC_SIGNED_RESPONSE_INFO {
    CRYPT_DER_BLOB ToBeSigned;
    OCSP_SIGNATURE_INFO SignatureInfo;  // the certificates are not read
} OCSP_BASIC_SIGNED_RESPONSE_INFO;

// ---- Chains --------------------------------------------------------------------------------------------------------

typedef struct _CERT_ENHKEY_USAGE {
    DWORD cUsageIdentifier;
    LPSTR* rgpszUsageIdentifier;
} CERT_ENHKEY_USAGE;

typedef struct _CERT_USAGE_MATCH {
    DWORD dwType;  // USAGE_MATCH_TYPE_AND, USAGE_MATCH_TYPE_OR
    CERT_ENHKEY_USAGE Usage;
} CERT_USAGE_MATCH;

typedef struct _CERT_CHAIN_PARA {
    DWORD cbSize;
    CERT_USAGE_MATCH RequestedUsage;
    CERT_USAGE_MATCH RequestedIssuancePolicy;
    DWORD dwUrlRetrievalTimeout;  // milliseconds for the whole chain; 0: the setting
    BOOL fCheckRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;  // seconds
    FILETIME* pftCacheResync;         // what was cached before this time is fetched again; null for none
} CERT_CHAIN_PARA, *PCERT_CHAIN_PARA;

typedef struct _CERT_TRUST_STATUS {
    DWORD dwErrorStatus;  // CERT_TRUST_IS_... and CERT_TRUST_... error bits
    DWORD dwInfoStatus;
} CERT_TRUST_STATUS;

typedef struct _CERT_REVOCATION_INFO {
    DWORD cbSize;
    DWORD dwRevocationResult;  // 0, CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK or CRYPT_E_REVOCATION_OFFLINE
    LPCSTR pszRevocationOid;
    void* pvOidSpecificInfo;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
    void* pCrlInfo;  // null here
} CERT_REVOCATION_INFO, *PCERT_REVOCATION_INFO;

typedef struct _CERT_CHAIN_ELEMENT {
    DWORD cbSize;
    PCCERT_CONTEXT pCertContext;
    CERT_TRUST_STATUS TrustStatus;
    PCERT_REVOCATION_INFO pRevocationInfo;  // null when revocation was not checked
    CERT_ENHKEY_USAGE* pIssuanceUsage;
    CERT_ENHKEY_USAGE* pApplicationUsage;  // null: any
    LPCWSTR pwszExtendedErrorInfo;
} CERT_CHAIN_ELEMENT, *PCERT_CHAIN_ELEMENT;

typedef struct _CERT_SIMPLE_CHAIN {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cElement;
    PCERT_CHAIN_ELEMENT* rgpElement;  // the end certificate first
    void* pTrustListInfo;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
} CERT_SIMPLE_CHAIN, *PCERT_SIMPLE_CHAIN;

typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID;

typedef struct _CERT_CHAIN_CONTEXT CERT_CHAIN_CONTEXT;
typedef const CERT_CHAIN_CONTEXT* PCCERT_CHAIN_CONTEXT;
struct _CERT_CHAIN_CONTEXT {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cChain;
    PCERT_SIMPLE_CHAIN* rgpChain;
    DWORD cLowerQualityChainContext;
    PCCERT_CHAIN_CONTEXT* rgpLowerQualityChainContext;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
    DWORD dwCreateFlags;
    GUID ChainId;
};

// Of the public record, the fields read here are hExclusiveRoot, rghAdditionalStore and dwUrlRetrievalTimeout.
typedef struct _CERT_CHAIN_ENGINE_CONFIG {
    DWORD cbSize;
    HCERTSTORE hRestrictedRoot;
    HCERTSTORE hRestrictedTrust;
    HCERTSTORE hRestrictedOther;
    DWORD cAdditionalStore;
    HCERTSTORE* rghAdditionalStore;  // intermediate certificates and CRLs
    DWORD dwFlags;
    DWORD dwUrlRetrievalTimeout;
    DWORD MaximumCachedCertificates;
    DWORD CycleDetectionModulus;
    HCERTSTORE hExclusiveRoot;  // when not null, only its certificates are trusted roots
    HCERTSTORE hExclusiveTrustedPeople;
    DWORD dwExclusiveFlags;
} CERT_CHAIN_ENGINE_CONFIG;

typedef struct _CERT_CHAIN_POLICY_PARA {
    DWORD cbSize;
    DWORD dwFlags;
    void* pvExtraPolicyPara;
} CERT_CHAIN_POLICY_PARA;

typedef struct _CERT_CHAIN_POLICY_STATUS {
    DWORD cbSize;
    DWORD dwError;  // 0, or why the policy rejects the chain
    LONG lChainIndex;
    LONG lElementIndex;
    void* pvExtraPolicyStatus;
} CERT_CHAIN_POLICY_STATUS;

// One entry of an OCSP response.
typedef struct _OCSP_CERT_ID {
    CRYPT_ALGORITHM_IDENTIFIER HashAlgorithm;
    CRYPT_HASH_BLOB IssuerNameHash;
    CRYPT_HASH_BLOB IssuerKeyHash;
    CRYPT_INTEGER_BLOB SerialNumber;  // least significant byte first
} OCSP_CERT_ID, *POCSP_CERT_ID;

// Non-zero if the administrator names this certificate as a responder for all issuers.
typedef int (*PFN_IS_OCSP_AUTHORIZED)(PCCERT_CONTEXT certificate);

// pvExtraPolicyPara of CERT_CHAIN_POLICY_OCSP_RESPONDER.
typedef struct OCSPChainPolicyPara_ {
    DWORD cbSize;
    FILETIME* pProducedAt;
    DWORD cCertID;
    OCSP_CERT_ID* rgCertID;
    PFN_IS_OCSP_AUTHORIZED pfnIsOCSPAuthorized;  // null: none is
} OCSPChainPolicyPara;

// pvExtraPolicyStatus of CERT_CHAIN_POLICY_OCSP_RESPONDER.
typedef struct OCSPChainPolicyStatus_ {
    DWORD cbSize;
    DWORD dwError;  // OCSP_CHAIN_... bits
    BYTE rgbReserved[8];
    DWORD fNoCheck;     // non-zero: the certificate carries the OCSP no-check mark
    int* rgAuthorized;  // cCertID values, the caller's; non-zero: the responder may answer for the entry
} OCSPChainPolicyStatus;

// ---- Revocation ----------------------------------------------------------------------------------------------------

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

typedef struct _CERT_REVOCATION_PARA {
    DWORD cbSize;
    PCCERT_CONTEXT pIssuerCert;
    DWORD cCertStore;
    HCERTSTORE* rgCertStore;
    HCERTSTORE hCrlStore;
    FILETIME* pftTimeToUse;
    DWORD dwUrlRetrievalTimeout;
    BOOL fCheckFreshnessTime;
    DWORD dwFreshnessTime;
    FILETIME* pftCurrentTime;
    void* pCrlInfo;
    FILETIME* pftCacheResync;
    CERT_REVOCATION_CHAIN_PARA* pChainPara;
} CERT_REVOCATION_PARA;

typedef struct _CERT_REVOCATION_STATUS {
    DWORD cbSize;
    DWORD dwIndex;  // the first context that did not pass
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

typedef void (*PFN_CRYPTO_STORE_ITEM)(const CRYPTO_STORE_ITEM* pItem, void* pvContext);

// ---- Exchange ------------------------------------------------------------------------------------------------------

typedef struct _CRYPT_BLOB_ARRAY {
    DWORD cBlob;
    CRYPT_DATA_BLOB* rgBlob;
} CRYPT_BLOB_ARRAY;

typedef struct _CRYPT_RETRIEVE_AUX_INFO {
    DWORD cbSize;
    FILETIME* pLastSyncTime;  // receives the time at which the response arrived from the network; may be null
    DWORD dwMaxUrlRetrievalByteCount;
    void* pPreFetchInfo;
    void* pFlushInfo;
    void** ppResponseInfo;
    LPWSTR pwszCacheFileNamePrefix;
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

// The network rules of one check on one thread: see crypto_begin_check.
typedef struct _CRYPTO_CHECK {
    DWORD cbSize;
    DWORD dwFlags;                         // CRYPTO_CHECK_... bits
    LPCWSTR pwszProxy;                     // of downloads; empty: none
    LPCWSTR pwszProxyCredentials;          // "name:password"; empty: none
    DWORD dwAuthSchemes;                   // CRYPTO_AUTH_... bits that a login in the responder's address may use
    DWORD dwProxyAuthSchemes;              // the same for a login at the proxy
    PFN_CRYPTO_ON_REDIRECT pfnOnRedirect;  // null: every redirect is followed
    void* pvOnRedirect;
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
