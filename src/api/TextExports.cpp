#include "api/ResultCode.h"
#include "cqapi/CQApi.h"

const char* cqGetResultText(uint32_t code) {
    return ovk::resultText(code);
}

const char* cqGetVersion(void) {
    return CQAPI_VERSION_STRING;
}
