/// Reads bytes as a host that does anything at all: each operation of ConfigManager with arguments
/// good and bad, moves of the clock, and mishaps of the device. Owned by one run of a target; one
/// thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/config_manager.h"
#include "fuzz/byte_source.h"
#include "sim/simulated_device.h"
#include "support/manual_clock.h"

namespace corebeacon::fuzz {

/// A request of any shape, mostly of things that exist, as of the QoS `ids`.
std::vector<PerfRequestInfo> MakeRequest(ByteSource& source, const std::vector<PerfQosId>& ids);
/// A value or an id: mostly one that somewhere means something.
int MakeValue(ByteSource& source);
/// Mostly one of `ids`.
PerfQosId MakeQosId(ByteSource& source, const std::vector<PerfQosId>& ids);
/// A duration in ms, or another number that callers give.
std::uint32_t MakeNumber(ByteSource& source);

class FrontPlayer {
public:
    /// `ids`: the QoS of the machine.
    FrontPlayer(ByteSource& source, const std::vector<PerfQosId>& ids, ConfigManager& front,
                sim::SimulatedDevice& device, test::ManualClock& clock);

    /// Until the bytes end, or after very many steps.
    void Play(bool withMishaps);
    /// Waits until all that was asked for, and all that was due, is done.
    void Settle();
    /// Whether the device did anything else than a healthy one.
    bool HadMishap() const { return mHadMishap; }

private:
    using Step = void (FrontPlayer::*)();
    static const std::vector<Step> kSteps;
    static const std::vector<Step> kMishaps;

    void Request();
    void BaseSet();
    void Release();
    void ReleaseAll();
    void Reset();
    void Scenario();
    void Mode();
    void Suspend();
    void Event();
    void StartEvent();
    void StopEvent();
    void StartProbe();
    void StopProbe();
    void Dump();
    void Inspect();
    void Debug();
    void InitAgain();
    void Advance();
    void InjectFault();
    void EndFaults();
    void DisturbDevice();

    int Pid();
    std::vector<unsigned int> Numbers();
    void Keep(int result, unsigned long handle);

    ByteSource& mSource;
    const std::vector<PerfQosId>& mIds;
    ConfigManager& mFront;
    sim::SimulatedDevice& mDevice;
    test::ManualClock& mClock;
    std::vector<unsigned long> mHandles;
    bool mHadMishap = false;
};

}  // namespace corebeacon::fuzz
