/* Asks with an existing request whether a certificate is still good: check REQUEST CERTIFICATE ISSUER SETTINGS, the
 * first three in DER. The setting DefaultOCSPURL names the responder, whose chain must end in a root of the store ROOT.
 */
#include <stdio.h>

#include <stdlib.h>
#include <tallow/tallow.h>

/* Returns 0 when the certificate is proven good. The response is not matched with a nonce: pass the request's
 * extensions as the last two arguments of ocspVerifyResponse to do that. */
static int32_t check(PCCERT_CONTEXT certificate, const unsigned char* request, unsigned long requestSize) {
    unsigned char* response = NULL;
    unsigned long responseSize = 0;
    int32_t status = ocspSendRequest(request, requestSize, &response, &responseSize);
    if (status == 0) {
        status = ocspVerifyResponse(certificate, response, responseSize, NULL, 0);
    }
    free(response);
    return status;
}

/* Returns the bytes of a file, which the caller frees; null when it cannot be read. */
static unsigned char* readFile(const char* path, unsigned long* size) {
    unsigned char* bytes = NULL;
    FILE* file = fopen(path, "rb");
    if (file == NULL) {
        return NULL;
    }
    if (fseek(file, 0, SEEK_END) == 0) {
        const long length = ftell(file);
        rewind(file);
        if (length > 0) {
            bytes = malloc((size_t)length);
        }
        if (bytes != NULL && fread(bytes, 1, (size_t)length, file) != (size_t)length) {
            free(bytes);
            bytes = NULL;
        }
        *size = (unsigned long)length;
    }
    fclose(file);
    return bytes;
}

/* Adds the certificate in a file to `store` and returns it; null when the file contains none. */
static PCCERT_CONTEXT addCertificate(HCERTSTORE store, const char* path) {
    unsigned long size = 0;
    unsigned char* bytes = readFile(path, &size);
    PCCERT_CONTEXT kept = NULL;
    PCCERT_CONTEXT read = bytes == NULL ? NULL : CertCreateCertificateContext(X509_ASN_ENCODING, bytes, (DWORD)size);
    if (read != NULL) {
        CertAddCertificateContextToStore(store, read, CERT_STORE_ADD_USE_EXISTING, &kept);
    }
    CertFreeCertificateContext(read);
    free(bytes);
    return kept;
}

int main(int argc, char** argv) {
    if (argc != 5 || support_settings_open(argv[4]) != 0) {
        fprintf(stderr, "usage: %s REQUEST CERTIFICATE ISSUER SETTINGS\n", argv[0]);
        return 64;
    }
    unsigned long requestSize = 0;
    unsigned char* request = readFile(argv[1], &requestSize);
    /* The issuer is looked for in the store that contains the certificate. */
    HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, NULL);
    PCCERT_CONTEXT certificate = addCertificate(store, argv[2]);
    PCCERT_CONTEXT issuer = addCertificate(store, argv[3]);
    int exitStatus = 64;
    if (request == NULL || certificate == NULL || issuer == NULL) {
        fprintf(stderr, "%s: a file is missing or is not DER\n", argv[0]);
    } else {
        const int32_t status = check(certificate, request, requestSize);
        printf("0x%08X %s\n", (unsigned int)status, status == 0 ? "good" : "not proven good");
        exitStatus = status == 0 ? 0 : 1;
    }
    CertFreeCertificateContext(issuer);
    CertFreeCertificateContext(certificate);
    CertCloseStore(store, 0);
    free(request);
    return exitStatus;
}
