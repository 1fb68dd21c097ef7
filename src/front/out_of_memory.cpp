#include "front/out_of_memory.h"

#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

}  // namespace

int OutOfMemory(const char* operation) {
    LOGE("[%s:%d] out of memory in %s", operation);
    return -1;
}

}  // namespace corebeacon
