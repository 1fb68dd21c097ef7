// What belongs to the process rather than to an engine: log, node access, trace, names.
#include <array>
#include <cstddef>
#include <cstring>

#include "corebeacon/builtin_config.h"
#include "corebeacon/log.h"
#include "corebeacon/node_io.h"
#include "corebeacon/trace.h"
#include "front/c_interface.h"
#include "platform/immortal.h"
#include "platform/sys_wrapper.h"

namespace corebeacon::c_interface {

namespace {

/// Passes log lines on to a plain function.
class FunctionSink : public LogSink {
public:
    void Write(int level, const char* tag, const char* message) noexcept override {
        mFunction(mUser, level, tag, message);
    }

    // fixed while in force
    corebeacon_log_function mFunction = nullptr;
    void* mUser = nullptr;
};

/// Passes node accesses on to plain functions.
class FunctionNodeIo : public NodeIo {
public:
    int Open(const char* path, int flags) override {
        return mFunctions.open_node(mFunctions.user, path, flags);
    }
    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        return mFunctions.read_node(mFunctions.user, fd, buffer, size);
    }
    ssize_t Write(int fd, const void* data, std::size_t size) override {
        return mFunctions.write_node(mFunctions.user, fd, data, size);
    }
    int Close(int fd) override { return mFunctions.close_node(mFunctions.user, fd); }
    int Ioctl(int fd, unsigned long request, void* argument) override {
        return mFunctions.ioctl_node(mFunctions.user, fd, request, argument);
    }

    corebeacon_node_io mFunctions = {};  // fixed while in force
};

/// Two of a kind in turn: the one that is not in force is filled in and then put in its place, so
/// that no thread ever meets a half changed one, and a replacement needs no memory.
template <typename Adapter>
class Pair {
public:
    Adapter& Next() {
        mCurrent = 1 - mCurrent;
        return mAdapters[mCurrent];
    }

private:
    std::array<Adapter, 2> mAdapters;
    std::size_t mCurrent = 0;
};

/// The adapters, which workers may use until the process ends.
struct Adapters {
    Mutex sinkMutex;
    Pair<FunctionSink> sinks GUARDED_BY(sinkMutex);
    Pair<FunctionNodeIo> nodeIos;  // guarded by SetUpMutex()
};

Adapters& TheAdapters() {
    static Immortal<Adapters> adapters;
    return adapters.Get();
}

constexpr RecordSizes kNodeIoSizes = {
    offsetof(corebeacon_node_io, ioctl_node) + sizeof(corebeacon_node_io::ioctl_node),
    sizeof(corebeacon_node_io)};

bool IsComplete(const corebeacon_node_io& functions) {
    return functions.open_node != nullptr && functions.read_node != nullptr &&
           functions.write_node != nullptr && functions.close_node != nullptr &&
           functions.ioctl_node != nullptr;
}

}  // namespace

}  // namespace corebeacon::c_interface

using namespace corebeacon;
using namespace corebeacon::c_interface;

int corebeacon_set_log_function(corebeacon_log_function function, void* user) noexcept {
    Adapters& adapters = TheAdapters();
    MutexLock lock(adapters.sinkMutex);
    if (function == nullptr) {
        SetLogSink(nullptr);
        return 0;
    }
    FunctionSink& sink = adapters.sinks.Next();
    sink.mFunction = function;
    sink.mUser = user;
    SetLogSink(&sink);
    return 0;
}

int corebeacon_set_log_switch(unsigned int bits) noexcept {
    return PfLogonNamespace::PfLogonSet(bits);
}

unsigned int corebeacon_log_switch(void) noexcept {
    return PfLogonNamespace::PfLogonGet()->load(std::memory_order_relaxed);
}

int corebeacon_set_node_io(const corebeacon_node_io* node_io) noexcept {
    corebeacon_node_io functions = {};
    if (node_io != nullptr &&
        (!TakeRecord(node_io, node_io->size, kNodeIoSizes, &functions) || !IsComplete(functions))) {
        return BadArgument(__func__, "node access of an unknown size or without a function");
    }
    MutexLock lock(SetUpMutex());
    if (LiveEngines() > 0) {
        return BadArgument(__func__, "an engine is running");
    }
    if (SysWrapper::IsSysTraceEnabled()) {
        return BadArgument(__func__, "a trace is bound");
    }
    if (node_io == nullptr) {
        SetNodeIo(nullptr);
        return 0;
    }
    FunctionNodeIo& adapter = TheAdapters().nodeIos.Next();
    adapter.mFunctions = functions;
    SetNodeIo(&adapter);
    return 0;
}

int corebeacon_bind_trace(const char* trace_marker_path) noexcept {
    if (trace_marker_path == nullptr) {
        return BadArgument(__func__, "no path");
    }
    return Guarded(__func__, [&] {
        MutexLock lock(SetUpMutex());
        return BindSysTrace(trace_marker_path);
    });
}

void corebeacon_unbind_trace(void) noexcept {
    MutexLock lock(SetUpMutex());
    UnbindSysTrace();
}

uint64_t corebeacon_lost_trace_markers(void) noexcept {
    return LostSysTraceMarkers();
}

const char* corebeacon_version(void) noexcept {
    return COREBEACON_VERSION;
}

const char* corebeacon_qos_name(uint32_t qos) noexcept {
    return PerfQosName(static_cast<PerfQosId>(qos));
}

int corebeacon_qos_id(const char* name, uint32_t* qos) noexcept {
    if (name == nullptr || qos == nullptr) {
        return BadArgument(__func__, "no name or nowhere to put the id");
    }
    for (uint32_t id = 0; id < PERF_QOS_INVALID; ++id) {
        const char* const known = corebeacon_qos_name(id);
        if (known != nullptr && std::strcmp(known, name) == 0) {
            *qos = id;
            return 0;
        }
    }
    return -1;
}

const char* corebeacon_eas_group_name(unsigned int group) noexcept {
    return PerfEasGroupName(group);
}
