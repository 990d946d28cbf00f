/* Asks whether a certificate is still good: check CERTIFICATE ISSUER ROOTS CRLS, all in PEM or DER. */
#include <stdio.h>
#include <tallow/checker_c.h>

static unsigned char certificate[1 << 20], issuer[1 << 20], roots[1 << 20], crls[1 << 20];

/* A file that cannot be read counts as empty: nothing is proven with it. */
static size_t readFile(const char* path, unsigned char* octets) {
    FILE* file = fopen(path, "rb");
    const size_t size = file == NULL ? 0 : fread(octets, 1, sizeof roots, file);
    return file == NULL || fclose(file) != 0 ? 0 : size;
}

int main(int argc, char** argv) {
    if (argc != 5) {
        return fputs("usage: check CERTIFICATE ISSUER ROOTS CRLS\n", stderr), 64;
    }
    const size_t certificateSize = readFile(argv[1], certificate), issuerSize = readFile(argv[2], issuer);
    const size_t rootsSize = readFile(argv[3], roots), crlsSize = readFile(argv[4], crls);
    tallow_checker* checker = tallow_checker_new();
    tallow_checker_add_roots(checker, roots, rootsSize);
    tallow_checker_add_crls(checker, crls, crlsSize);
    tallow_verdict* verdict = tallow_check(checker, certificate, certificateSize, issuer, issuerSize);
    puts(tallow_verdict_why(verdict));
    const bool isGood = tallow_verdict_is_good(verdict);
    tallow_verdict_free(verdict);
    tallow_checker_free(checker);
    return isGood ? 0 : 1;
}
