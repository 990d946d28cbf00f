#include "asn1rt/status.h"

#include <cstdio>

extern "C" {

int rtErrSetData(ASN1ErrInfo* errInfo, int status, const char* /*moduleName*/, int /*lineNumber*/) noexcept {
    if (errInfo->status == 0) {
        errInfo->status = status;
    }
    return status;
}

int rtErrReset(ASN1ErrInfo* errInfo) noexcept {
    errInfo->status = 0;
    return 0;
}

int rtErrCopyData(const ASN1ErrInfo* from, ASN1ErrInfo* to) noexcept {
    to->status = from->status;
    return to->status;
}

int rtErrAddStrParm(ASN1ErrInfo* /*errInfo*/, const char* /*text*/) noexcept {
    return 1;
}

int rtErrAddIntParm(ASN1ErrInfo* /*errInfo*/, int /*value*/) noexcept {
    return 1;
}

const char* rtErrGetText(const ASN1ErrInfo* /*errInfo*/) noexcept {
    return "";
}

void rtErrPrint(const ASN1ErrInfo* errInfo) noexcept {
    std::printf("ASN.1 ERROR: Status %d\n", errInfo->status);
}

}  // extern "C"
