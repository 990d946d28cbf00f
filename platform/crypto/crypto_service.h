// The Crypto service: certificates, stores, chains, revocation, providers, signatures and the exchange with a
// responder, as plain functions with the names, numbers and shapes of the public CryptoAPI. The records are in
// crypto_records.h, the numbers in crypto_constants.h. The general rules of support_service.h hold here too;
// docs/platform.md is the contract.
//
// BOOL functions return TRUE, or FALSE with the last error set. Sizes are octets unless a comment says characters. A
// call that fills a buffer works in two steps: with a null buffer it writes the size needed to the size argument and
// returns TRUE; with a buffer that is too small it writes the size needed and fails with ERROR_MORE_DATA.
//
// Memory: each object is released by the function named for it. Two calls return memory of their own:
// CryptRetrieveObjectByUrlW a block for free(), and SendPKIRequest a block for delete[], which C callers therefore
// cannot release; they use tallow_check or ocspSendRequest.
//
// The last error becomes a status by one rule (handles/last_error.h): values from 1 become 0x80070000 with their low 16
// bits, and 0 and negative values stay. tallow_status_text returns a text for every status.
#pragma once

#include "export.h"
#include "platform/crypto/crypto_constants.h"
#include "platform/crypto/crypto_records.h"
#include "platform/support/support_service.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Certificate contexts ------------------------------------------------------------------------------------------

// Makes a context that belongs to no store from a DER certificate of exactly `cbEncoded` octets, which are copied.
// Free it with CertFreeCertificateContext. Null with E_INVALIDARG for a null argument or an encoding without
// X509_ASN_ENCODING, CRYPT_E_ASN1_ERROR for bytes that are not a certificate. The public key is not examined yet.
TALLOW_EXPORT PCCERT_CONTEXT CertCreateCertificateContext(DWORD dwCertEncodingType, const BYTE* pbCertEncoded,
                                                          DWORD cbCertEncoded);
// One more reference to the same context, which is returned; null gives null.
TALLOW_EXPORT PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT pCertContext);
// Releases a reference; null is accepted. Always TRUE.
TALLOW_EXPORT BOOL CertFreeCertificateContext(PCCERT_CONTEXT pCertContext);

// Reads a property in two steps. Hashes and the key identifier are computed from the certificate when first
// read; CERT_AUTHORITY_INFO_ACCESS_PROP_ID is the value of that extension. CERT_KEY_PROV_INFO_PROP_ID is one block
// whose pointers point into the buffer. CRYPT_E_NOT_FOUND when the context has no such property.
TALLOW_EXPORT BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, void* pvData,
                                                     DWORD* pcbData);
// Sets a property of the context, which all its references share; nothing is written to a file. `pvData` is a
// CRYPT_DATA_BLOB*, for CERT_KEY_PROV_INFO_PROP_ID a CRYPT_KEY_PROV_INFO*; it is copied. Null removes the property.
TALLOW_EXPORT BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, DWORD dwFlags,
                                                     const void* pvData);
// The number of the property after `dwPropId`, in ascending order; 0 begins, and a result of 0 ends. Only properties
// that are set or have been computed are listed.
TALLOW_EXPORT DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT pCertContext, DWORD dwPropId);

// The first of `cExtensions` whose OID text is `pszObjId`; it points into the array. Null with CRYPT_E_NOT_FOUND, or
// with E_INVALIDARG for a null argument.
TALLOW_EXPORT PCERT_EXTENSION CertFindExtension(LPCSTR pszObjId, DWORD cExtensions, CERT_EXTENSION rgExtensions[]);

// ---- What is in use ------------------------------------------------------------------------------------------------

// The libraries behind the service, for people to read: lines of the form "NAME: VERSION ...". Valid until the process
// ends; never free it. Empty when memory is exhausted. libcurl is loaded by the first exchange of a process: before it,
// the version is the one this was built with.
TALLOW_EXPORT LPCSTR crypto_library_versions(void);

// ---- Stores --------------------------------------------------------------------------------------------------------

// Opens a store; close it with CertCloseStore.
//   CERT_STORE_PROV_MEMORY: a new empty one.
//   CERT_STORE_PROV_COLLECTION: a new one that shows the stores added to it.
//   CERT_STORE_PROV_SYSTEM_A, _W: the system store named by the narrow or wide text `pvPara`: the certificates and CRLs
//   of the files in the directory of that name, read when it is opened. CERT_SYSTEM_STORE_CURRENT_USER shows the user's
//   directory and then the machine's, CERT_SYSTEM_STORE_LOCAL_MACHINE only the machine's. ROOT also shows the system's
//   trust bundle unless the settings switch that off, and omits files that others may write (docs/settings.md, "Who may
//   define trust"). With CERT_STORE_OPEN_EXISTING_FLAG a store without any directory fails with ERROR_FILE_NOT_FOUND,
//   otherwise it is empty. A file that cannot be read or understood is skipped and traced; if it may be a CRL, every
//   certificate checked with this store has an unknown revocation status. crypto_list_store reports such files.
// In a check with CRYPTO_CHECK_NO_STORES a system store has no directory, whatever is on the disk.
// `hCryptProv` and `dwEncodingType` are not read. Certificates added to a system store stay in memory.
// Null with ERROR_FILE_NOT_FOUND for another provider, E_INVALIDARG for a name that is empty or contains a slash or a
// leading dot, ERROR_TOO_MANY_OPEN_FILES, E_OUTOFMEMORY or ERROR_ACCESS_DENIED for an existing directory that cannot
// be read.
TALLOW_EXPORT HCERTSTORE CertOpenStore(LPCSTR lpszStoreProvider, DWORD dwEncodingType, HCRYPTPROV hCryptProv,
                                       DWORD dwFlags, const void* pvPara);
// One more reference to the same store, which is returned; null gives null with E_INVALIDARG.
TALLOW_EXPORT HCERTSTORE CertDuplicateStore(HCERTSTORE hCertStore);
// Releases a reference; null is accepted. Contexts from the store stay usable. `dwFlags` is not read.
TALLOW_EXPORT BOOL CertCloseStore(HCERTSTORE hCertStore, DWORD dwFlags);
// Adds a store to a collection, which keeps a reference to it. Enumeration goes from high `dwPriority` to low, and in
// the order of addition among equals. E_INVALIDARG when the first is not a collection, or when the collection would
// contain itself.
TALLOW_EXPORT BOOL CertAddStoreToCollection(HCERTSTORE hCollectionStore, HCERTSTORE hSiblingStore, DWORD dwUpdateFlags,
                                            DWORD dwPriority);

// The certificate after `pPrevCertContext` (null begins), which is freed. The caller frees the result, or passes it to
// the next call. Null with CRYPT_E_NOT_FOUND at the end. A certificate added during an enumeration may or may not
// appear.
TALLOW_EXPORT PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pPrevCertContext);
// The next certificate that matches, in the same manner.
//   CERT_FIND_ANY: all. CERT_FIND_SUBJECT_NAME, CERT_FIND_ISSUER_NAME: whose name has exactly the bytes of the
//   CERT_NAME_BLOB `pvFindPara`. CERT_FIND_SHA1_HASH: whose thumbprint is the CRYPT_HASH_BLOB. CERT_FIND_EXISTING: with
//   the same encoding as the given context. CERT_FIND_SUBJECT_CERT: with issuer and serial number of the CERT_INFO.
//   CERT_FIND_ISSUER_OF: whose subject is the issuer of the given context.
// Null with CRYPT_E_NOT_FOUND when none matches, E_INVALIDARG for another find type or a null argument.
TALLOW_EXPORT PCCERT_CONTEXT CertFindCertificateInStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                                        DWORD dwFindFlags, DWORD dwFindType, const void* pvFindPara,
                                                        PCCERT_CONTEXT pPrevCertContext);
// Adds a copy of the context with its properties; in a collection, to its first member. The same encoding twice is one
// certificate: ADD_NEW fails with CRYPT_E_EXISTS, ADD_USE_EXISTING keeps the existing one and adds the properties that
// it lacks, ADD_REPLACE_EXISTING uses the new one, ADD_ALWAYS adds a duplicate. `ppStoreContext`, when not null,
// receives a reference to the store's context, to be freed.
TALLOW_EXPORT BOOL CertAddCertificateContextToStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pCertContext,
                                                    DWORD dwAddDisposition, PCCERT_CONTEXT* ppStoreContext);
// Adds a DER CRL, which is copied, for the revocation checks that are given this store. `ppCrlContext` is null.
TALLOW_EXPORT BOOL CertAddEncodedCRLToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType, const BYTE* pbCrlEncoded,
                                            DWORD cbCrlEncoded, DWORD dwAddDisposition, PCCRL_CONTEXT* ppCrlContext);

// Reports the contents of the directory of one system store as the library sees it: calls `pfnItem` for each
// certificate and CRL in the order of the files, and for each item that cannot be used or is ignored. `dwFlags`
// chooses the user's directory (CERT_SYSTEM_STORE_CURRENT_USER) or the machine's. A missing directory is
// empty. FALSE with E_INVALIDARG for a null argument or a name that CertOpenStore rejects, with the errors of
// CertOpenStore for a directory that cannot be read. The callback must not throw.
TALLOW_EXPORT BOOL crypto_list_store(LPCSTR szName, DWORD dwFlags, PFN_CRYPTO_STORE_ITEM pfnItem, void* pvContext);
// The same for the content of one file, read as in a store: DER before PEM, every block of PEM text. `szName` may be
// null; its ending decides whether content that is not a certificate may be a CRL. FALSE with
// E_INVALIDARG for a null `pbContent` with a size, or a null callback.
TALLOW_EXPORT BOOL crypto_read_store_content(const BYTE* pbContent, DWORD cbContent, LPCSTR szName,
                                             PFN_CRYPTO_STORE_ITEM pfnItem, void* pvContext);
// The same for the content of a file that a user names as an input. It may also be a container, in DER or in a PEM
// block: PKCS #7 with certificates and CRLs, or PKCS #12, whose certificates are read when it has no password, or an
// empty one. Private keys are never opened, and signatures and MACs of containers are not verified. A container that
// cannot be opened is a CRYPTO_STORE_ITEM_BROKEN, whose problem contains "PKCS #12" if it is one.
TALLOW_EXPORT BOOL crypto_read_named_content(const BYTE* pbContent, DWORD cbContent, LPCSTR szName,
                                             PFN_CRYPTO_STORE_ITEM pfnItem, void* pvContext);

// ---- Chains and revocation -----------------------------------------------------------------------------------------

// Makes an engine with its own roots and additional stores, to which it keeps references. With hExclusiveRoot its
// self-issued certificates are the only roots of the engine's chains: neither ROOT nor the roots of
// crypto_add_trusted_root or of a check count. This, and not crypto_add_trusted_root, is how a program trusts its own
// roots alone. Intermediate certificates and CRLs still come from the CA stores too. The engine does not change; its
// handle may be used on several threads. The caller frees it, after the last call and the last CResponse that use it
// (put_ChainEngine). FALSE with E_INVALIDARG for a null argument, a wrong cbSize, or a count without stores.
TALLOW_EXPORT BOOL CertCreateCertificateChainEngine(CERT_CHAIN_ENGINE_CONFIG* pConfig, HCERTCHAINENGINE* phChainEngine);
TALLOW_EXPORT void CertFreeCertificateChainEngine(HCERTCHAINENGINE hChainEngine);

// Builds the chain of a certificate at `pTime` (null: now) and reports faults in trust statuses; a bad chain is a
// result, not a failure. Intermediate certificates come from `hAdditionalStore`, the CA stores, and, unless the flags
// restrict the call to the cache, the issuer addresses in the certificates. The flags choose the revocation checks; an
// element whose status was not found is unknown. Free the result with CertFreeCertificateChain. FALSE with
// E_INVALIDARG, E_OUTOFMEMORY.
TALLOW_EXPORT BOOL CertGetCertificateChain(HCERTCHAINENGINE hChainEngine, PCCERT_CONTEXT pCertContext, FILETIME* pTime,
                                           HCERTSTORE hAdditionalStore, PCERT_CHAIN_PARA pChainPara, DWORD dwFlags,
                                           void* pvReserved, PCCERT_CHAIN_CONTEXT* ppChainContext);
// Null is accepted.
TALLOW_EXPORT void CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext);
// Verifies a chain by the policy CERT_CHAIN_POLICY_OCSP_RESPONDER or CERT_CHAIN_POLICY_OCSP_REQUESTOR; the verdict is
// written to `pPolicyStatus`. FALSE when there is no verdict: E_INVALIDARG, ERROR_FILE_NOT_FOUND for another
// policy.
TALLOW_EXPORT BOOL CertVerifyCertificateChainPolicy(LPCSTR pszPolicyOID, PCCERT_CHAIN_CONTEXT pChainContext,
                                                    CERT_CHAIN_POLICY_PARA* pPolicyPara,
                                                    CERT_CHAIN_POLICY_STATUS* pPolicyStatus);
// Checks `cContext` certificates against CRLs. TRUE when CRLs that cover each of them were found and list none; a
// self-signed certificate is looked up in its own issuer's CRL like any other. FALSE with CRYPT_E_REVOKED,
// CRYPT_E_NO_REVOCATION_CHECK or CRYPT_E_REVOCATION_OFFLINE as last error and in `pRevStatus`.
TALLOW_EXPORT BOOL CertVerifyRevocation(DWORD dwEncodingType, DWORD dwRevType, DWORD cContext, void* rgpvContext[],
                                        DWORD dwFlags, CERT_REVOCATION_PARA* pRevPara,
                                        CERT_REVOCATION_STATUS* pRevStatus);

// Trusts a root **in the whole process**, until it ends, in addition to the ROOT store and the system's roots: in every
// chain of an engine without hExclusiveRoot, whichever thread or library builds it, except in checks with
// CRYPTO_CHECK_NO_STORES. The context is kept (one more reference). FALSE with
// E_INVALIDARG for null. A certificate whose subject is not its issuer is not a root and has no effect.
TALLOW_EXPORT BOOL crypto_add_trusted_root(PCCERT_CONTEXT pCertContext);
// Removes all roots added with crypto_add_trusted_root.
TALLOW_EXPORT void crypto_forget_trusted_roots(void);

// ---- Algorithms ----------------------------------------------------------------------------------------------------

// The algorithm number of an OID text: of a hash, of a public key, or, for a signature, of its hash. 0 when not known;
// the last error is CRYPT_E_NOT_FOUND then.
TALLOW_EXPORT DWORD CertOIDToAlgId(LPCSTR pszObjId);
// Looks an algorithm up; the result lives as long as the process. By CRYPT_OID_INFO_OID_KEY (text), NAME_KEY (wide
// text), ALGID_KEY (ALG_ID*), SIGN_KEY (ALG_ID[2]: hash, public key). `dwGroupId` 0 means every group. Null when not
// found.
TALLOW_EXPORT PCCRYPT_OID_INFO CryptFindOIDInfo(DWORD dwKeyType, void* pvKey, DWORD dwGroupId);

// ---- Providers and private keys ------------------------------------------------------------------------------------

// A provider without keys: `dwFlags` must be CRYPT_VERIFYCONTEXT (NTE_BAD_FLAGS), the names are not read, and the type
// is one of PROV_... (NTE_BAD_PROV_TYPE). Release it with CryptReleaseContext.
TALLOW_EXPORT BOOL CryptAcquireContextA(HCRYPTPROV* phProv, LPCSTR szContainer, LPCSTR szProvider, DWORD dwProvType,
                                        DWORD dwFlags);
// Reference counting; NTE_BAD_UID for a handle of 0. The flags and `pdwReserved` are 0.
TALLOW_EXPORT BOOL CryptContextAddRef(HCRYPTPROV hProv, DWORD* pdwReserved, DWORD dwFlags);
TALLOW_EXPORT BOOL CryptReleaseContext(HCRYPTPROV hProv, DWORD dwFlags);
// Fills `pbBuffer` with random octets fit for keys.
TALLOW_EXPORT BOOL CryptGenRandom(HCRYPTPROV hProv, DWORD dwLen, BYTE* pbBuffer);
// PP_ENUMALGS: one PROV_ENUMALGS a call, CRYPT_FIRST begins, any other flag continues, ERROR_NO_MORE_ITEMS ends; hashes
// come first, in the order in which a signer should prefer them, and algorithms that are not installed are omitted.
// PP_VERSION: 4 octets. PP_VERSION_EX: PROV_VERSION_EX. PP_NAME: text. PP_PROVTYPE: 4 octets. NTE_BAD_TYPE for others.
TALLOW_EXPORT BOOL CryptGetProvParam(HCRYPTPROV hProv, DWORD dwParam, BYTE* pbData, DWORD* pdwDataLen, DWORD dwFlags);
// PP_SIGNATURE_PIN: the narrow text, UTF-8, that opens the private key. This call opens the key and does not keep the
// PIN; a key that is already open stays open, whatever the text. NTE_BAD_TYPE for another parameter. The failures of
// CryptAcquireCertificatePrivateKey, and SCARD_W_WRONG_CHV when the PIN does not open the key, after which another one
// may be tried; NTE_NO_KEY when the provider is not for a key.
TALLOW_EXPORT BOOL CryptSetProvParam(HCRYPTPROV hProv, DWORD dwParam, const BYTE* pbData, DWORD dwFlags);
// The service has no handles of keys and hashes, so these fail with ERROR_INVALID_HANDLE except for 0, which is
// accepted.
TALLOW_EXPORT BOOL CryptDestroyKey(HCRYPTKEY hKey);
TALLOW_EXPORT BOOL CryptDestroyHash(HCRYPTHASH hHash);
// A provider that holds the private key named by the property CERT_KEY_PROV_INFO_PROP_ID of the certificate, to be
// released when `*pfCallerFreeProv` (always TRUE). The container of the property is a URI for OpenSSL's store loader: a
// path or "file:" for a file in PEM or DER (traditional, PKCS #8, PKCS #12), other schemes where a provider of OpenSSL
// serves them. A key that needs no PIN is opened here. One that does waits for CryptSetProvParam(PP_SIGNATURE_PIN),
// which may then fail with the same codes; until then whatever needs the key fails with NTE_SILENT_CONTEXT. The user is
// never asked at a terminal. CRYPT_E_NO_KEY_PROPERTY when the property is missing, NTE_BAD_KEYSET when there is no key
// where it says (no file, no regular one, more than 1 MiB, nothing in it that is a private key), NTE_BAD_PUBLIC_KEY
// when none of the keys there belongs to the certificate, NTE_NOT_SUPPORTED for an unsupported scheme,
// ERROR_NOT_SUPPORTED for a file that is encrypted in a way that OpenSSL does not open here or that asks for too much
// work.
TALLOW_EXPORT BOOL CryptAcquireCertificatePrivateKey(PCCERT_CONTEXT pCert, DWORD dwFlags, void* pvParameters,
                                                     HCRYPTPROV* phCryptProv, DWORD* pdwKeySpec,
                                                     BOOL* pfCallerFreeProv);

// Sets the location of the private key of a certificate, the property CERT_KEY_PROV_INFO_PROP_ID, from a path, which
// may be relative to the current directory, or a URI, in UTF-8. Nothing is opened yet. FALSE with E_INVALIDARG for
// null, an empty text or one that is not UTF-8.
TALLOW_EXPORT BOOL crypto_set_key_uri(PCCERT_CONTEXT pCertContext, LPCSTR szKeyUri);

// ---- Hashes and signatures of encoded structures -------------------------------------------------------------------

// The hash of the octets, in two steps; `Algid` 0 is SHA-1. `hCryptProv` and the flags are not read. NTE_BAD_ALGID for
// an algorithm that is not a hash or is not installed.
TALLOW_EXPORT BOOL CryptHashCertificate(HCRYPTPROV hCryptProv, ALG_ID Algid, DWORD dwFlags, const BYTE* pbEncoded,
                                        DWORD cbEncoded, BYTE* pbComputedHash, DWORD* pcbComputedHash);
// Signs the octets with the key of the provider, in two steps (the first may report more than is needed). The signature
// is in the order of the BIT STRING. NTE_BAD_ALGID when the algorithm does not fit the key or is too weak, NTE_NO_KEY
// when the provider has none, NTE_SILENT_CONTEXT when the key waits for its PIN.
TALLOW_EXPORT BOOL CryptSignCertificate(HCRYPTPROV hCryptProv, DWORD dwKeySpec, DWORD dwCertEncodingType,
                                        const BYTE* pbEncodedToBeSigned, DWORD cbEncodedToBeSigned,
                                        PCRYPT_ALGORITHM_IDENTIFIER pSignatureAlgorithm, const void* pvHashAuxInfo,
                                        BYTE* pbSignature, DWORD* pcbSignature);
// Checks a signature. Subject: CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB, a CRYPT_DATA_BLOB* with a SEQUENCE of the signed
// structure, the algorithm and the BIT STRING (what follows these in the SEQUENCE is ignored, so a whole
// BasicOCSPResponse is accepted); ..._CERT, a PCCERT_CONTEXT; ..._OCSP_BASIC_SIGNED_RESPONSE, an
// OCSP_BASIC_SIGNED_RESPONSE_INFO*. Issuer: ..._PUBKEY, a CERT_PUBLIC_KEY_INFO*; ..._CERT, a PCCERT_CONTEXT (the fast
// form: its key is loaded once); ..._CHAIN, a PCCERT_CHAIN_CONTEXT. FALSE with NTE_BAD_SIGNATURE when the signature
// does not verify, also because it belongs to a key of another kind; NTE_BAD_ALGID when the algorithm is unknown, has
// parameters where none are allowed (an ASN.1 NULL is accepted) or is too weak to be accepted (MD5 and older; SHA-1
// unless the setting accept_sha1 is on); NTE_BAD_PUBLIC_KEY when the key cannot be used; CRYPT_E_ASN1_ERROR for a
// malformed subject. The subject ..._CERT asks only whether this key issued the certificate: SHA-1 is verified whatever
// accept_sha1 says, and TRUE does not make the certificate trusted; its chain decides that. Every FALSE means
// that the issuer is not proven.
TALLOW_EXPORT BOOL CryptVerifyCertificateSignatureEx(HCRYPTPROV hCryptProv, DWORD dwCertEncodingType,
                                                     DWORD dwSubjectType, void* pvSubject, DWORD dwIssuerType,
                                                     void* pvIssuer, DWORD dwFlags, void* pvExtra);

// ---- Text forms and exchange ---------------------------------------------------------------------------------------

// Writes bytes as base64 (CRYPT_STRING_BASE64, with or without CRYPT_STRING_NOCRLF, CRYPT_STRING_NOCR). Sizes count
// characters: the first step gives the size with the terminator, the second the size without it. NTE_BAD_FLAGS for
// another form.
TALLOW_EXPORT BOOL CryptBinaryToStringW(const BYTE* pbBinary, DWORD cbBinary, DWORD dwFlags, LPWSTR pszString,
                                        DWORD* pcchString);
// Reads the first PEM block (CRYPT_STRING_BASE64HEADER), bare base64 (CRYPT_STRING_BASE64), either
// (CRYPT_STRING_BASE64_ANY), or either and else the bytes as they are (CRYPT_STRING_ANY). `cchString` 0: up to the
// terminator. `pdwSkip` and `pdwFlags` receive the number of characters before the block and the form found; null is
// accepted. ERROR_INVALID_DATA.
TALLOW_EXPORT BOOL CryptStringToBinaryA(LPCSTR pszString, DWORD cchString, DWORD dwFlags, BYTE* pbBinary,
                                        DWORD* pcbBinary, DWORD* pdwSkip, DWORD* pdwFlags);

// Posts the body and header in `pszUrl` to the address before them, or returns the response from the cache, as
// `dwRetrievalFlags` and the resynchronisation time of `pAuxInfo` say. The URL is the address, a slash, the body as
// base64 with its special characters escaped, "?" and the header line. `pszObjectOid` is CONTEXT_OID_OCSP_RESP.
// `dwTimeout` in milliseconds, 0 for the setting. On success `*ppvObject` is a CRYPT_BLOB_ARRAY, one block, to be freed
// with free().
TALLOW_EXPORT BOOL CryptRetrieveObjectByUrlW(LPCWSTR pszUrl, LPCSTR pszObjectOid, DWORD dwRetrievalFlags,
                                             DWORD dwTimeout, void** ppvObject, void* hAsyncRetrieve,
                                             void* pCredentials, void* pvVerify, CRYPT_RETRIEVE_AUX_INFO* pAuxInfo);
// Posts `requestBuffer` to `url` with the given user agent and header lines, through the proxy if `proxyAddress` is not
// empty, with `proxyCredentials` "name:password" if not empty. Returns the HTTP status, 0 when no complete response
// arrived; `responseBuffer` (zero on entry) receives the body, its data to be freed with delete[]. For any status but
// 200 the last error gives the reason: ERROR_NETWORK_ACCESS_DENIED for an address that must not be contacted.
TALLOW_EXPORT unsigned long SendPKIRequest(const wchar_t* url, const wchar_t* agent, const wchar_t* headers,
                                           const wchar_t* proxyAddress, const wchar_t* proxyCredentials,
                                           const PKI_EXCHANGE_BUFFER* requestBuffer,
                                           PKI_EXCHANGE_BUFFER* responseBuffer);

// ---- The rules of a check -------------------------------------------------------------------------------------------
// The four calls of this section are optional for another implementation of the service: the library links them weakly
// and works without those that are missing. docs/platform.md describes what is lost, "Rules of a check".

// Begins a check on the calling thread. Until crypto_end_check its exchanges and downloads share one deadline;
// downloads of issuers and CRLs use the proxy given; SendPKIRequest and CryptRetrieveObjectByUrlW follow the rules in
// the record; and chains use its roots and its time. Checks nest: the innermost rules apply, no check lasts longer than
// the one around it, the restrictions of the outer ones hold (CRYPTO_CHECK_NO_...), and the innermost hRoots and pTime
// that are not null apply. Outside of a check downloads use the policy's DefaultProxy, if AllowedProxies and the
// ProxyAuth words permit it.
//
// The caller fills `pCheck` up to pvOnNote; it and what it points to must stay where they are, unchanged, until
// crypto_end_check. FALSE with E_INVALIDARG for null, a wrong cbSize, an unknown flag or a null text; no check has
// begun then, and the caller must not go on as if the restrictions held.
TALLOW_EXPORT BOOL crypto_begin_check(CRYPTO_CHECK* pCheck);
// Ends the check, and any begun after it that was not ended. Only on the thread that began it.
TALLOW_EXPORT void crypto_end_check(CRYPTO_CHECK* pCheck);
// The milliseconds that the check of the calling thread has left; 0 when its time is over, 0xFFFFFFFF outside of one.
TALLOW_EXPORT DWORD crypto_check_time_left(void);

// Why the server of the setting `cache` could not be used, in one line: the first failure of the process. Null when
// there was none. The text is valid until the process ends, and may contain any character. Not called by the library:
// a check goes on without the cache; for programs that warn their users.
TALLOW_EXPORT LPCSTR crypto_cache_fault(void);

// Removes the response for `pszUrl` from the cache of CryptRetrieveObjectByUrlW. TRUE when none is cached afterwards.
TALLOW_EXPORT BOOL crypto_forget_response(LPCWSTR pszUrl);

#ifdef __cplusplus
}  // extern "C"
#endif
