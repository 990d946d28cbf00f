// The numbers of the Crypto service, by their public names and with their public values, so that an implementation made
// elsewhere fits. A comment "not used" marks numbers that neither this service nor the library passes or returns; they
// are here because callers know them.
#pragma once

// ---- Last errors ---------------------------------------------------------------------------------------------------

// Numbers with the top bit set are passed on unchanged as statuses (handles/last_error.h); small numbers become
// 0x8007xxxx. Read the last error directly after the call that failed, on the same thread; a call that succeeds leaves
// it as it was.
//
// A provider handle of 0.
#define NTE_BAD_UID 0x80090001U
// Not used.
#define NTE_BAD_KEY 0x80090003U
#define NTE_BAD_LEN 0x80090004U
#define NTE_BAD_DATA 0x80090005U
// The signature does not verify. The only failure, with NTE_BAD_PUBLIC_KEY, that means "false" and not "could not
// check".
#define NTE_BAD_SIGNATURE 0x80090006U
// The algorithm is unknown, not installed, or refused as too weak.
#define NTE_BAD_ALGID 0x80090008U
// The call does not know one of the flags, or one that it needs is missing.
#define NTE_BAD_FLAGS 0x80090009U
// A parameter number that the call does not know.
#define NTE_BAD_TYPE 0x8009000AU
// The provider was made without a private key.
#define NTE_NO_KEY 0x8009000DU
// Not used: exhausted memory is E_OUTOFMEMORY.
#define NTE_NO_MEMORY 0x8009000EU
// The key of the certificate cannot be loaded, or the private key that was found belongs to another one.
#define NTE_BAD_PUBLIC_KEY 0x80090015U
// There is no private key where the certificate's key information says, or the file is not a key.
#define NTE_BAD_KEYSET 0x80090016U
// A provider type other than PROV_...
#define NTE_BAD_PROV_TYPE 0x80090014U
// An unexpected failure of the cryptographic library.
#define NTE_FAIL 0x80090020U
// The key needs a PIN and none was given: call CryptSetProvParam with PP_SIGNATURE_PIN.
#define NTE_SILENT_CONTEXT 0x80090022U
// The place of the key is of an unsupported kind: another URI scheme, or a file on another host.
#define NTE_NOT_SUPPORTED 0x80090029U
// Not used.
#define NTE_INVALID_HANDLE 0x80090026U
#define NTE_INVALID_PARAMETER 0x80090027U
#define CRYPT_E_UNKNOWN_ALGO 0x80091002U
// A property, extension, certificate or algorithm that does not exist; also the end of an enumeration.
#define CRYPT_E_NOT_FOUND 0x80092004U
// CERT_STORE_ADD_NEW: the store already has this certificate.
#define CRYPT_E_EXISTS 0x80092005U
// The certificate has no key information (CERT_KEY_PROV_INFO_PROP_ID).
#define CRYPT_E_NO_KEY_PROPERTY 0x8009200BU
// A CRL lists the certificate.
#define CRYPT_E_REVOKED 0x80092010U
// The status is unknown: the issuer was not found, or no CRL covers the certificate.
#define CRYPT_E_NO_REVOCATION_CHECK 0x80092012U
// The status is unknown although the certificate names an address for its CRL: it could not be fetched or used.
#define CRYPT_E_REVOCATION_OFFLINE 0x80092013U
// The bytes are not a certificate, CRL or signed structure in DER.
#define CRYPT_E_ASN1_ERROR 0x80093100U
// Not used.
#define CRYPT_E_ASN1_BADTAG 0x8009310BU
// The PIN does not open the private key; another one may be tried.
#define SCARD_W_WRONG_CHV 0x8010006BU
// Why a chain policy rejects a chain, in CERT_CHAIN_POLICY_STATUS::dwError; these are verdicts, not last errors. When a
// chain has several faults, one is reported.
//
// A certificate is not valid at the time the chain was built for, or not at the time of the check.
#define CERT_E_EXPIRED 0x800B0101U
// The root is not trusted.
#define CERT_E_UNTRUSTEDROOT 0x800B0109U
// There is no path to any root.
#define CERT_E_CHAINING 0x800B010AU
// Another fault of an extension.
#define TRUST_E_FAIL 0x800B010BU
// Not used: a revoked certificate is CRYPT_E_REVOKED.
#define CERT_E_REVOKED 0x800B010CU
#define CERT_E_REVOCATION_FAILURE 0x800B010EU
// A CA that may not sign certificates.
#define CERT_E_WRONG_USAGE 0x800B0110U
// A signature that does not verify or is too weak.
#define TRUST_E_CERT_SIGNATURE 0x80096004U
// An issuer that is not a CA, or a path that is too long.
#define TRUST_E_BASIC_CONSTRAINTS 0x80096019U
// A null or malformed argument, or a record with a wrong cbSize.
#define E_INVALIDARG 0x80070057U
// Memory is exhausted.
#define E_OUTOFMEMORY 0x8007000EU

// Failures of an exchange with a responder or server, and of downloads. Trying again may help after a timeout, a
// refused or an interrupted connection; the others need a change of address, settings or server.
//
// The rules forbid contacting this address: a private or local network, or a login in an address from a certificate.
#define ERROR_NETWORK_ACCESS_DENIED 65U
// HTTP cannot be used: its module, libtallow-http.so, is missing, of another version, or cannot be loaded.
#define ERROR_MOD_NOT_FOUND 126U
// The time limit of the exchange or of the whole check is over.
#define ERROR_INTERNET_TIMEOUT 12002U
// A failure of the HTTP library without a number of its kind.
#define ERROR_INTERNET_INTERNAL_ERROR 12004U
// The address cannot be parsed, or its host contains characters that are not allowed.
#define ERROR_INTERNET_INVALID_URL 12005U
// The address is neither http nor https.
#define ERROR_INTERNET_UNRECOGNIZED_SCHEME 12006U
// The host or the proxy has no address.
#define ERROR_INTERNET_NAME_NOT_RESOLVED 12007U
// The server or the proxy asks for a login (HTTP 401 or 407).
#define ERROR_INTERNET_LOGIN_FAILURE 12015U
// Not used.
#define ERROR_INTERNET_OPERATION_CANCELLED 12017U
// The connection was refused or could not be made.
#define ERROR_INTERNET_CANNOT_CONNECT 12029U
// The connection was closed before the response was complete.
#define ERROR_INTERNET_CONNECTION_ABORTED 12030U
// TLS failed, or the server's certificate is not accepted.
#define ERROR_INTERNET_SECURE_FAILURE 12175U
// The response is not valid HTTP, or has an unexpected status.
#define ERROR_HTTP_INVALID_SERVER_RESPONSE 12152U
// A redirect that must not be followed: too many, to a forbidden address, or declined by the caller.
#define ERROR_HTTP_REDIRECT_FAILED 12156U

// ---- Encodings, stores ---------------------------------------------------------------------------------------------

// Encodings, combined with |. Every call requires the first.
//
//   X509_ASN     certificates and CRLs in DER; PEM is read from stores and by CryptStringToBinaryA only
//   PKCS_7_ASN   messages of PKCS #7; ignored
#define X509_ASN_ENCODING 0x00000001U
#define PKCS_7_ASN_ENCODING 0x00010000U

// Kinds of stores for CertOpenStore; numbers in place of a provider's name, so never read them as text.
//
//   MEMORY      a new empty store
//   SYSTEM_A    the certificates and CRLs of a directory, named by narrow text
//   SYSTEM_W    the same, named by wide text
//   COLLECTION  several stores seen as one; members are added with CertAddStoreToCollection
#define CERT_STORE_PROV_MEMORY ((const char*)2)
#define CERT_STORE_PROV_SYSTEM_A ((const char*)9)
#define CERT_STORE_PROV_SYSTEM_W ((const char*)10)
#define CERT_STORE_PROV_COLLECTION ((const char*)11)

// Flags of CertOpenStore, combined with |. Only OPEN_EXISTING (a system store without a directory is an error) and the
// location are read; stores are never written, so READONLY changes nothing, and CREATE_NEW makes no directory.
#define CERT_STORE_SHARE_CONTEXT_FLAG 0x00000080U
#define CERT_STORE_CREATE_NEW_FLAG 0x00002000U
#define CERT_STORE_OPEN_EXISTING_FLAG 0x00004000U
#define CERT_STORE_READONLY_FLAG 0x00008000U
// The location of a system store: the user's directory and then the machine's, or only the machine's. One of them, as a
// number inside the mask.
#define CERT_SYSTEM_STORE_LOCATION_MASK 0x00FF0000U
#define CERT_SYSTEM_STORE_CURRENT_USER 0x00010000U
#define CERT_SYSTEM_STORE_LOCAL_MACHINE 0x00020000U

// Flags of CertCloseStore, which does not read them.
#define CERT_CLOSE_STORE_FORCE_FLAG 1U
#define CERT_CLOSE_STORE_CHECK_FLAG 2U

// What CertAddCertificateContextToStore does when the store already has the same encoding.
//
//   NEW               fails with CRYPT_E_EXISTS
//   USE_EXISTING      keeps the old one and adds the properties that it lacks
//   REPLACE_EXISTING  uses the new one
//   ALWAYS            keeps both
#define CERT_STORE_ADD_NEW 1U
#define CERT_STORE_ADD_USE_EXISTING 2U
#define CERT_STORE_ADD_REPLACE_EXISTING 3U
#define CERT_STORE_ADD_ALWAYS 4U

// Kinds of items that crypto_list_store, crypto_read_store_content and crypto_read_named_content report.
#define CRYPTO_STORE_ITEM_CERTIFICATE 1U
#define CRYPTO_STORE_ITEM_CRL 2U
#define CRYPTO_STORE_ITEM_OTHER 3U   // whole, and neither a certificate nor a CRL
#define CRYPTO_STORE_ITEM_BROKEN 4U  // cannot be read, or does not count

// What CertFindCertificateInStore compares, and the type of its argument. Names are compared byte for byte, so a name
// in another string type is not found.
//
//   ANY            nothing; null
//   SHA1_HASH      the thumbprint; CRYPT_HASH_BLOB of 20 octets
//   ISSUER_NAME    the issuer; CERT_NAME_BLOB
//   SUBJECT_NAME   the subject; CERT_NAME_BLOB
//   SUBJECT_CERT   issuer and serial number; CERT_INFO
//   ISSUER_OF      the subject with the issuer of the argument; a certificate context
//   EXISTING       the whole encoding; a certificate context
#define CERT_FIND_ANY 0x00000000U
#define CERT_FIND_SHA1_HASH 0x00010000U
#define CERT_FIND_ISSUER_NAME 0x00020004U
#define CERT_FIND_SUBJECT_NAME 0x00020007U
#define CERT_FIND_SUBJECT_CERT 0x000B0000U
#define CERT_FIND_ISSUER_OF 0x000C0000U
#define CERT_FIND_EXISTING 0x000D0000U

// ---- Properties of a certificate context ---------------------------------------------------------------------------

// Where the private key is: a CRYPT_KEY_PROV_INFO. The only property that is a record.
#define CERT_KEY_PROV_INFO_PROP_ID 2U
// The thumbprint: 20 octets, SHA-1 of the whole certificate; computed when read, like the other hashes.
#define CERT_SHA1_HASH_PROP_ID 3U
#define CERT_HASH_PROP_ID CERT_SHA1_HASH_PROP_ID
// MD5 of the whole certificate, 16 octets.
#define CERT_MD5_HASH_PROP_ID 4U
// Not read by the service.
#define CERT_KEY_CONTEXT_PROP_ID 5U
#define CERT_KEY_SPEC_PROP_ID 6U
// The value of the extended key usage extension, in DER.
#define CERT_ENHKEY_USAGE_PROP_ID 9U
// A name for people; kept, not read. Absent unless a caller has set it.
#define CERT_FRIENDLY_NAME_PROP_ID 11U
// The hash of the signed part of the certificate, made with the hash of its signature algorithm; absent for algorithms
// without a separate hash, and for those that need an engine.
#define CERT_SIGNATURE_HASH_PROP_ID 15U
// The key identifier of the subject's key: that of the extension, else SHA-1 of the whole subjectPublicKeyInfo.
#define CERT_KEY_IDENTIFIER_PROP_ID 20U
// MD5 of the subject, and of issuer and serial number (not used), and of the public key.
#define CERT_SUBJECT_NAME_MD5_HASH_PROP_ID 29U
#define CERT_ISSUER_SERIAL_NUMBER_MD5_HASH_PROP_ID 28U
#define CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID 25U
// The value of the authority information access extension, in DER.
#define CERT_AUTHORITY_INFO_ACCESS_PROP_ID 68U
// Not used.
#define CERT_OCSP_CACHE_PREFIX_PROP_ID 75U
// Of a CA certificate in a store: responders for the certificates it issued, chosen by the administrator, as a DER
// AuthorityInfoAccessSyntax.
#define CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID 81U
// SHA-256 of the whole certificate, 32 octets.
#define CERT_SHA256_HASH_PROP_ID 107U

// ---- Chains --------------------------------------------------------------------------------------------------------

// How CERT_USAGE_MATCH combines usages; not read by the service.
#define USAGE_MATCH_TYPE_AND 0U
#define USAGE_MATCH_TYPE_OR 1U

// Flags of CertGetCertificateChain, combined with |. Without any, revocation is not checked and issuers may be
// downloaded.
//
//   CACHE_ONLY_URL_RETRIEVAL             issuers and CRLs are not downloaded
//   REVOCATION_CHECK_END_CERT            looks up the end certificate in CRLs
//   REVOCATION_CHECK_CHAIN               looks up the whole chain but the root
//   REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT  the same, for certificates from received requests: addresses in them are not
//                                        contacted for issuers
//   REVOCATION_CHECK_CACHE_ONLY          CRLs are not downloaded
//   CACHE_END_CERT, DISABLE_AUTH_ROOT_AUTO_UPDATE   no effect
#define CERT_CHAIN_CACHE_END_CERT 0x00000001U
#define CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL 0x00000004U
#define CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE 0x00000100U
#define CERT_CHAIN_REVOCATION_CHECK_END_CERT 0x10000000U
#define CERT_CHAIN_REVOCATION_CHECK_CHAIN 0x20000000U
#define CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT 0x40000000U
#define CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY 0x80000000U

// Error bits of a trust status, combined with |. 0 means that the chain or element has no fault; any bit, even an
// unknown one, must keep it from being trusted. Bits of the chain are those of its elements and its own
// (PARTIAL_CHAIN).
#define CERT_TRUST_NO_ERROR 0x00000000U
// Not valid at the time the chain was built for, or a time in a form that RFC 5280 does not allow.
#define CERT_TRUST_IS_NOT_TIME_VALID 0x00000001U
// A CRL lists the certificate.
#define CERT_TRUST_IS_REVOKED 0x00000004U
// The signature does not verify with the issuer's key.
#define CERT_TRUST_IS_NOT_SIGNATURE_VALID 0x00000008U
// A CA whose key usage does not allow signing certificates.
#define CERT_TRUST_IS_NOT_VALID_FOR_USAGE 0x00000010U
// The chain ends in a self-signed certificate that is not a trusted root.
#define CERT_TRUST_IS_UNTRUSTED_ROOT 0x00000020U
// A revocation check was requested and found no answer; set together with IS_OFFLINE_REVOCATION.
#define CERT_TRUST_REVOCATION_STATUS_UNKNOWN 0x00000040U
// Not used.
#define CERT_TRUST_IS_CYCLIC 0x00000080U
// An extension that occurs twice or is malformed, and every other fault without a bit of its kind.
#define CERT_TRUST_INVALID_EXTENSION 0x00000100U
// A policy is required and none is left, or a policy extension is malformed (RFC 5280, section 6.1).
#define CERT_TRUST_INVALID_POLICY_CONSTRAINTS 0x00000200U
// An issuer that is not a CA, or a path longer than a CA allows.
#define CERT_TRUST_INVALID_BASIC_CONSTRAINTS 0x00000400U
// Name constraints: malformed; of a kind that cannot be compared; not permitted; excluded.
#define CERT_TRUST_INVALID_NAME_CONSTRAINTS 0x00000800U
#define CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT 0x00001000U
#define CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT 0x00004000U
#define CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT 0x00008000U
// There is no path to a self-signed certificate, or verification did not finish.
#define CERT_TRUST_IS_PARTIAL_CHAIN 0x00010000U
// The hash of a signature or the size of a key is too weak: MD5 and older, SHA-1 without accept_sha1, keys below 80
// bits of strength.
#define CERT_TRUST_HAS_WEAK_SIGNATURE 0x00100000U
// See REVOCATION_STATUS_UNKNOWN.
#define CERT_TRUST_IS_OFFLINE_REVOCATION 0x01000000U
// None of the required certificate policies is valid for the end certificate, or the requirement is malformed.
#define CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY 0x02000000U
// The trust settings of a certificate reject it.
#define CERT_TRUST_IS_EXPLICIT_DISTRUST 0x04000000U
// A critical extension that is not processed.
#define CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT 0x08000000U

// Info bits of a trust status: how the issuer was found, and whether the element is a self-signed end of the chain. The
// first two are not used.
#define CERT_TRUST_HAS_EXACT_MATCH_ISSUER 0x00000001U
#define CERT_TRUST_HAS_KEY_MATCH_ISSUER 0x00000002U
#define CERT_TRUST_HAS_NAME_MATCH_ISSUER 0x00000004U
#define CERT_TRUST_IS_SELF_SIGNED 0x00000008U
#define CERT_TRUST_HAS_PREFERRED_ISSUER 0x00000100U

// Chain policies, named by text in place of an OID: whether the signer of a response, or of a request, is acceptable.
#define CERT_CHAIN_POLICY_OCSP_RESPONDER "{A4CC781E-04E9-425C-AAFD-1D74DA8DFAF6}"
#define CERT_CHAIN_POLICY_OCSP_REQUESTOR "{B52FF66F-13A5-402C-B958-A3A6B5300FB6}"

// Passed in dwFlags with CERT_CHAIN_POLICY_OCSP_REQUESTOR; this service does not read it.
#define OCSP_REQUESTOR_POLICY_FLAG 0x40000000U

// Bits of OCSPChainPolicyStatus::dwError. Every bit except OCSP_CHAIN_REVOCATION_UNKNOWN rejects the responder.
//
//   NOT_TIME_VALID       its certificate is not valid at producedAt or at the time the chain was built for
//   NOT_TIME_NESTED      the same for another certificate of the chain
//   REVOKED              a CRL lists a certificate of the chain
//   NOT_SIGNATURE_VALID  a signature of the chain does not verify or is too weak
//   WRONG_USAGE          no OCSPSigning usage, and neither the issuer itself nor named by the administrator
//   WRONG_KEY_USAGE      keyUsage is present and allows no signature
//   REVOCATION_UNKNOWN   the chain was built without CRLs, or none was available
//   INVALID              any other fault of the chain
#define OCSP_CHAIN_NOT_TIME_VALID 0x00000001U
#define OCSP_CHAIN_NOT_TIME_NESTED 0x00000002U
#define OCSP_CHAIN_REVOKED 0x00000004U
#define OCSP_CHAIN_NOT_SIGNATURE_VALID 0x00000008U
#define OCSP_CHAIN_WRONG_USAGE 0x00000010U
#define OCSP_CHAIN_WRONG_KEY_USAGE 0x00000020U
#define OCSP_CHAIN_REVOCATION_UNKNOWN 0x00000040U
#define OCSP_CHAIN_INVALID 0x00000080U

// ---- Revocation ----------------------------------------------------------------------------------------------------

// For CertVerifyRevocation.
//
//   CONTEXT_REVOCATION_TYPE       the kind of the contexts, certificates: the only one
//   VERIFY_REV_CHAIN              the contexts form a chain, each issued by the next
//   CACHE_ONLY_BASED_REVOCATION   only CRLs at hand are used, without downloads
#define CERT_CONTEXT_REVOCATION_TYPE 1U
#define CERT_VERIFY_REV_CHAIN_FLAG 0x00000001U
#define CERT_VERIFY_CACHE_ONLY_BASED_REVOCATION 0x00000002U

// ---- Providers, keys, algorithms -----------------------------------------------------------------------------------

// Types of providers that CryptAcquireContextA accepts, and that a certificate's key information may name. The random
// numbers and the keys are the same for all.
#define PROV_RSA_FULL 1U
#define PROV_RSA_AES 24U
#define PROV_GOST_2001 75U
#define PROV_GOST_2012_256 80U
#define PROV_GOST_2012_512 81U

// Flags of CryptAcquireContextA: a provider without private keys, which is required; never ask the user, which is
// always so.
#define CRYPT_VERIFYCONTEXT 0xF0000000U
#define CRYPT_SILENT 0x00000040U

// Parameters of CryptGetProvParam, and PP_SIGNATURE_PIN of CryptSetProvParam.
//
//   PP_ENUMALGS       one PROV_ENUMALGS a call; CRYPT_FIRST begins, CRYPT_NEXT continues
//   PP_NAME           terminated text
//   PP_VERSION        4 octets
//   PP_PROVTYPE       4 octets, a PROV_... number
//   PP_SIGNATURE_PIN  terminated narrow text, UTF-8; set only
//   PP_VERSION_EX     PROV_VERSION_EX
#define PP_ENUMALGS 1U
#define PP_NAME 4U
#define PP_VERSION 5U
#define PP_PROVTYPE 16U
#define PP_SIGNATURE_PIN 33U
#define PP_VERSION_EX 138U
#define CRYPT_FIRST 1U
#define CRYPT_NEXT 2U

// Key specifications. A key here serves for both; AT_SIGNATURE is reported unless the certificate's key information
// says otherwise.
#define AT_KEYEXCHANGE 1U
#define AT_SIGNATURE 2U

// Flags of CryptAcquireCertificatePrivateKey; the library passes the first one.
#define CRYPT_ACQUIRE_USE_PROV_INFO_FLAG 0x00000002U
#define CRYPT_ACQUIRE_COMPARE_KEY_FLAG 0x00000004U
#define CRYPT_ACQUIRE_SILENT_FLAG 0x00000040U

// Hashes, of which MD2, MD4 and MD5 are never accepted in signatures.
#define CALG_MD2 0x00008001U
#define CALG_MD4 0x00008002U
#define CALG_MD5 0x00008003U
#define CALG_SHA1 0x00008004U
#define CALG_SHA_256 0x0000800CU
#define CALG_SHA_384 0x0000800DU
#define CALG_SHA_512 0x0000800EU
#define CALG_GR3411 0x0000801EU
#define CALG_GR3411_2012_256 0x00008021U
#define CALG_GR3411_2012_512 0x00008022U
// Public keys. RSA has two numbers, for signing and for key exchange; CALG_DH_SF is not known to the service.
#define CALG_DSS_SIGN 0x00002200U
#define CALG_ECDSA 0x00002203U
#define CALG_RSA_SIGN 0x00002400U
#define CALG_GR3410EL 0x00002E23U
#define CALG_GR3410_12_512 0x00002E3DU
#define CALG_GR3410_12_256 0x00002E49U
#define CALG_RSA_KEYX 0x0000A400U
#define CALG_DH_SF 0x0000AA01U
// The public list has no number for these; the service's own.
#define CALG_SHA_224 0x000080F0U
#define CALG_ED25519 0x000020F1U
#define CALG_ED448 0x000020F2U
// In place of the hash of a signature algorithm whose parameters name the hash, such as RSASSA-PSS.
#define CALG_OID_INFO_PARAMETERS 0xFFFFFFFEU

// What CryptFindOIDInfo searches by: OID text, wide name, algorithm number, or the two numbers of a signature.
#define CRYPT_OID_INFO_OID_KEY 1U
#define CRYPT_OID_INFO_NAME_KEY 2U
#define CRYPT_OID_INFO_ALGID_KEY 3U
#define CRYPT_OID_INFO_SIGN_KEY 4U

// Groups of algorithms for CryptFindOIDInfo; 0 means all. Some OIDs are in two groups, such as that of Ed25519.
#define CRYPT_HASH_ALG_OID_GROUP_ID 1U
#define CRYPT_PUBKEY_ALG_OID_GROUP_ID 3U
#define CRYPT_SIGN_ALG_OID_GROUP_ID 4U

// ---- Signed structures ---------------------------------------------------------------------------------------------

// What CryptVerifyCertificateSignatureEx verifies: a signed structure in DER (CRYPT_DATA_BLOB), a certificate context,
// or the parts of a response or request (OCSP_BASIC_SIGNED_RESPONSE_INFO).
#define CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB 1U
#define CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT 2U
#define CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE 4U

// The key it verifies with: a CERT_PUBLIC_KEY_INFO, that of a certificate context, or that of the first element of a
// chain. None of them is checked for trust.
#define CRYPT_VERIFY_CERT_SIGN_ISSUER_PUBKEY 1U
#define CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT 2U
#define CRYPT_VERIFY_CERT_SIGN_ISSUER_CHAIN 3U

// ---- Text forms, exchange ------------------------------------------------------------------------------------------

// Text forms of CryptBinaryToStringW and CryptStringToBinaryA.
//
//   BASE64HEADER  PEM, with its header lines; reading only
//   BASE64        bare base64
//   BINARY        the bytes unchanged
//   BASE64_ANY    either of the first two; reading only
//   ANY           any of the three; reading only
//   NOCRLF        combined with BASE64: writes no line breaks
//   NOCR          combined with BASE64: writes line feeds only
#define CRYPT_STRING_BASE64HEADER 0x00000000U
#define CRYPT_STRING_BASE64 0x00000001U
#define CRYPT_STRING_BINARY 0x00000002U
#define CRYPT_STRING_BASE64_ANY 0x00000006U
#define CRYPT_STRING_ANY 0x00000007U
#define CRYPT_STRING_NOCRLF 0x40000000U
#define CRYPT_STRING_NOCR 0x80000000U

// The kind of object that CryptRetrieveObjectByUrlW fetches: an OCSP response. The only one.
#define CONTEXT_OID_OCSP_RESP ((const char*)6)

// How it fetches, combined with |: only from the cache, only from the network, by HTTP POST. POST is required. Of the
// other two the cache wins, so that a caller who must not use the network never does.
#define CRYPT_CACHE_ONLY_RETRIEVAL 0x00000002U
#define CRYPT_WIRE_ONLY_RETRIEVAL 0x00000004U
#define CRYPT_HTTP_POST_RETRIEVAL 0x00100000U

// Flags of CRYPTO_CHECK, combined with |. All but the first are restrictions, which hold in every check inside this one
// as well.
//
//   ADDRESS_NAMED   the caller or the administrator chose the responder's address, so that a login in it may be used
//   NO_DOWNLOADS    no issuer and no CRL is downloaded or read from a cache on a server
//   NO_STORES       system stores are empty (with CERT_STORE_OPEN_EXISTING_FLAG they do not exist), the system's bundle
//                   and the roots of crypto_add_trusted_root are not trusted, and no file of them is listed or read; a
//                   chain trusts only hRoots, or the exclusive roots of its engine. The settings accept_sha1 and
//                   required_policies count as absent. Servers over https are still verified with the system's bundle.
//   NO_CACHE        responses and downloads are neither read from nor written to a cache
#define CRYPTO_CHECK_ADDRESS_NAMED 0x1U
#define CRYPTO_CHECK_NO_DOWNLOADS 0x2U
#define CRYPTO_CHECK_NO_STORES 0x4U
#define CRYPTO_CHECK_NO_CACHE 0x8U
// Schemes of HTTP authentication, combined with |. Others are not used: they would send what the caller did not give.
#define CRYPTO_AUTH_BASIC 0x1U
#define CRYPTO_AUTH_NTLM 0x2U
#define CRYPTO_AUTH_DIGEST 0x8U
#define CRYPTO_AUTH_ALL (CRYPTO_AUTH_BASIC | CRYPTO_AUTH_NTLM | CRYPTO_AUTH_DIGEST)
