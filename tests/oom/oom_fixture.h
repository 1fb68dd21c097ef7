/// A busy engine whose kernel has memory of its own, so that a heap that runs out is the engine's
/// alone. Owned by a test.
#pragma once

#include "oom/failing_heap.h"
#include "soak/busy_engine.h"
#include "soak/random_caller.h"

namespace corebeacon::test {

/// Passes on every call, exempt from the shortage.
class ExemptNodeIo : public NodeIo {
public:
    explicit ExemptNodeIo(NodeIo& kernel) : mKernel(kernel) {}

    int Open(const char* path, int flags) override {
        const HeapExemption exemption;
        return mKernel.Open(path, flags);
    }
    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        const HeapExemption exemption;
        return mKernel.Read(fd, buffer, size);
    }
    ssize_t Write(int fd, const void* data, std::size_t size) override {
        const HeapExemption exemption;
        return mKernel.Write(fd, data, size);
    }
    int Close(int fd) override {
        const HeapExemption exemption;
        return mKernel.Close(fd);
    }
    int Ioctl(int fd, unsigned long request, void* argument) override {
        const HeapExemption exemption;
        return mKernel.Ioctl(fd, request, argument);
    }

private:
    NodeIo& mKernel;
};

inline const std::string kProbeNode = "/sys/kernel/sched/probe_thread";

class OomFixture : public BusyEngineFixture {
protected:
    /// A request comes into force, and its release ends it.
    void ExpectTheEngineGoesOn() {
        const std::string node = "/sys/class/devfreq/gpufreq/min_freq";
        unsigned long handle = 0;
        ASSERT_EQ(
            mFront->PerfRequest(1, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000)}, handle),
            0);
        Settle(*mFront);
        EXPECT_NE(NodeValues().at(node), mBase.at(node));
        ASSERT_EQ(mFront->PerfRelease(1, handle), 0);
        Settle(*mFront);
        EXPECT_EQ(NodeValues(), mBase);
    }

private:
    ExemptNodeIo mKernel{*mDevice};
    const ScopedNodeIo mExemptNodeIo{mKernel};
};

}  // namespace corebeacon::test
