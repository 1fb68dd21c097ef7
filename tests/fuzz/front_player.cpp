#include "fuzz/front_player.h"

#include <cerrno>
#include <limits>
#include <sstream>

#include "command/command_manager.h"
#include "fuzz/demand.h"
#include "fuzz/small_machine.h"
#include "fuzz/workers.h"

namespace corebeacon::fuzz {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

/// So that a year a step stays far from the end of time.
constexpr int kMaxSteps = 200;
constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr unsigned int kMaxUnsigned = std::numeric_limits<unsigned int>::max();

constexpr int kValues[] = {
    0,       1,         -1,        2,         7,          10,     20,     30,
    40,      90,        100,       110,       120,        400000, 800000, 1300000,
    2000000, 200000000, 500000000, 800000000, 1000000000, 9000,   9999,   10000,
    65000,   99999999,  10000000,  kMinInt,   kMaxInt,    -10,    -50,    3,
};
constexpr int kPids[] = {1, 1, 2, 3, 4711, 0, -1, kMinInt, kMaxInt};
constexpr unsigned int kNumbers[] = {0,   1,     2,     3,    4,    5,    19,           20,
                                     100, 60000, 60001, 4097, 8192, 4711, kMaxUnsigned, 105};
constexpr int kErrors[] = {ENODEV, EBUSY,  EINVAL, EIO,   EACCES, ENOENT,
                           EINTR,  EAGAIN, ENOSPC, EPERM, ERANGE, EROFS};
constexpr sim::OperationKind kKinds[] = {sim::OperationKind::WRITE, sim::OperationKind::OPEN,
                                         sim::OperationKind::CLOSE, sim::OperationKind::IOCTL,
                                         sim::OperationKind::READ};

}  // namespace

int MakeValue(ByteSource& source) {
    const std::uint8_t choice = source.Byte();
    return choice == 255 ? static_cast<int>(source.Word()) : kValues[choice % std::size(kValues)];
}

PerfQosId MakeQosId(ByteSource& source, const std::vector<PerfQosId>& ids) {
    const std::uint8_t choice = source.Byte();
    switch (choice) {
        case 253:
            return PERF_QOS_INVALID;
        case 254:
            return PERF_QOS_EAS_BASE;
        case 255:
            return static_cast<PerfQosId>(source.Word());
        default:
            return choice < 224 ? ids[choice % ids.size()]
                                : SmallTable::AllIds()[choice % SmallTable::kQosCount];
    }
}

std::uint32_t MakeNumber(ByteSource& source) {
    const std::uint8_t choice = source.Byte();
    return choice == 255 ? source.Word() : kNumbers[choice % std::size(kNumbers)];
}

std::vector<PerfRequestInfo> MakeRequest(ByteSource& source, const std::vector<PerfQosId>& ids) {
    const auto operationOf = [](std::uint8_t choice) {
        return static_cast<PerfOperationType>(choice < 250 ? choice % 2 : choice);
    };
    std::vector<PerfRequestInfo> request;
    for (unsigned int elements = source.Below(4); elements > 0; --elements) {
        PerfRequestInfo element{MakeQosId(source, ids), {}};
        for (unsigned int groups = 1 + source.Below(3); groups > 0; --groups) {
            const std::uint8_t choice = source.Byte();
            GroupInfo group{choice == 255 ? source.Word() : choice % 11U, {}};
            for (unsigned int values = source.Below(3); values > 0; --values) {
                const PerfOperationType operation = operationOf(source.Byte());
                group.values.emplace_back(operation, MakeValue(source));
            }
            element.groups.push_back(group);
        }
        request.push_back(element);
    }
    if (!request.empty() && source.Byte() == 255) {
        request.resize(source.Byte(), request.front());
    }
    return request;
}

const std::vector<FrontPlayer::Step> FrontPlayer::kSteps = {
    &FrontPlayer::Request,    &FrontPlayer::Request,    &FrontPlayer::Request,
    &FrontPlayer::Inspect,    &FrontPlayer::BaseSet,    &FrontPlayer::Release,
    &FrontPlayer::Release,    &FrontPlayer::ReleaseAll, &FrontPlayer::Reset,
    &FrontPlayer::Scenario,   &FrontPlayer::Mode,       &FrontPlayer::Suspend,
    &FrontPlayer::Event,      &FrontPlayer::StartEvent, &FrontPlayer::StopEvent,
    &FrontPlayer::StartProbe, &FrontPlayer::StopProbe,  &FrontPlayer::Dump,
    &FrontPlayer::Debug,      &FrontPlayer::InitAgain,  &FrontPlayer::Advance,
    &FrontPlayer::Advance,    &FrontPlayer::Advance,
};

const std::vector<FrontPlayer::Step> FrontPlayer::kMishaps = {
    &FrontPlayer::InjectFault, &FrontPlayer::EndFaults, &FrontPlayer::DisturbDevice};

FrontPlayer::FrontPlayer(ByteSource& source, const std::vector<PerfQosId>& ids,
                         ConfigManager& front, sim::SimulatedDevice& device,
                         test::ManualClock& clock)
    : mSource(source), mIds(ids), mFront(front), mDevice(device), mClock(clock) {}

void FrontPlayer::Play(bool withMishaps) {
    std::vector<Step> steps = kSteps;
    if (withMishaps) {
        steps.insert(steps.end(), kMishaps.begin(), kMishaps.end());
    }
    for (int step = 0; step < kMaxSteps && !mSource.IsEmpty(); ++step) {
        (this->*mSource.AnyOf(steps))();
    }
}

void FrontPlayer::Settle() {
    AwaitWorkers(mFront, mClock);
}

void FrontPlayer::Request() {
    const std::uint32_t duration = MakeNumber(mSource);
    const std::vector<PerfRequestInfo> request = MakeRequest(mSource, mIds);
    const int pid = Pid();
    unsigned long handle = 0;
    const int result = mFront.PerfRequest(pid, duration, request, handle);
    Demand(result == -1 || (pid > 0 && !request.empty()), "only a real request of a real process");
    Demand(result == -1 || duration == 0 || (duration >= 20 && duration <= 60000),
           "only a length in range");
    Keep(result, handle);
}

void FrontPlayer::BaseSet() {
    const GroupInfo group{mSource.Below(10), {{PERF_OPERATION_BOOST, MakeValue(mSource)}}};
    unsigned long handle = 0;
    if (mFront.PerfRequest(Pid(), 0, {{PERF_QOS_EAS_BASE, {group}}}, handle) == 0) {
        Demand(handle == std::numeric_limits<unsigned long>::max(), "base values need no handle");
    }
}

void FrontPlayer::Release() {
    const std::uint8_t choice = mSource.Byte();
    unsigned long handle = mSource.Byte();
    if (choice == 255) {
        handle = std::numeric_limits<unsigned long>::max() - handle;
    } else if (!mHandles.empty()) {
        handle = mHandles[choice % mHandles.size()];
    }
    const int result = mFront.PerfRelease(Pid(), handle);
    Demand(result == 0 || result == -1, "0 or -1 from a release");
}

void FrontPlayer::ReleaseAll() {
    const int result = mFront.PerfReleaseAll(Pid());
    Demand(result == 0 || result == -1, "0 or -1 from a release of all");
}

void FrontPlayer::Reset() {
    Demand(mFront.Reset() == 0, "0 from a reset");
    const CommandManager::Counts counts = mFront.Commands().GetCounts();
    Demand(counts.liveHandles == 0 && counts.commands == 0 && counts.events == 0 &&
               counts.probes == 0 && counts.endTimeRecords == 0,
           "nothing is left after a reset");
}

void FrontPlayer::Scenario() {
    unsigned long handle = 0;
    const std::uint32_t scenario = MakeNumber(mSource);
    const int pid = Pid();
    const int result = mFront.PerfSetScenario(pid, scenario, handle);
    Demand(result == -1 || pid > 0, "only a scenario of a real process");
    Keep(result, handle);
}

void FrontPlayer::Mode() {
    unsigned long handle = 0;
    const std::uint32_t mode = MakeNumber(mSource);
    const int result = mFront.PerfSetMode(Pid(), mode, handle);
    Demand(result == -1 || mode < kWorkModeCount, "only a mode that there is");
    Keep(result, handle);
}

void FrontPlayer::Suspend() {
    std::vector<unsigned int> params;
    for (unsigned int count = mSource.Below(5); count > 0; --count) {
        params.push_back(params.empty() ? mSource.Below(3) : MakeQosId(mSource, mIds));
    }
    if (!params.empty() && mSource.Byte() >= 250) {
        params.resize(mSource.Byte() * 8U, params.back());
    }
    const int result = mFront.PerfSetSuspend(params);
    Demand(result == -1 || (result == 0 && params.size() >= 2), "a suspension names its QoS");
}

void FrontPlayer::Event() {
    const std::uint32_t event = MakeNumber(mSource);
    const std::vector<unsigned int> params = Numbers();
    const int result = mFront.PerfEvent(event, params, mSource.Text(40));
    Demand(result == 0 || result == -1 || (result == 2 && event == 4097),
           "a documented result of an event");
}

void FrontPlayer::StartEvent() {
    const std::uint32_t event = MakeNumber(mSource);
    const int result = mFront.StartEvent(event, MakeNumber(mSource));
    Demand(result == 0 || result == -1, "0 or -1 from the start of an event");
}

void FrontPlayer::StopEvent() {
    mFront.StopEvent(MakeNumber(mSource));
}

void FrontPlayer::StartProbe() {
    const int tid = Pid();
    const int result = mFront.StartProbe(tid);
    Demand(result == -1 || result == 2 || (result == 0 && tid > 0), "only a real thread's probe");
}

void FrontPlayer::StopProbe() {
    mFront.StopProbe(Pid());
}

void FrontPlayer::Dump() {
    static const std::vector<std::string> kTypes = {
        "--event", "--scenario", "--base_info", "--workMode", "--task", "--limit_history", ""};
    const std::uint8_t choice = mSource.Byte();
    std::ostringstream out;
    if (choice >= 250) {
        const std::vector<std::string> args(choice - 250U, mSource.Text(16));
        mFront.Dump(out, args);
        mFront.DumpCoreVersion(out);
        return;
    }
    const std::string& type = kTypes[choice % kTypes.size()];
    const int result = mFront.Dump(out, {type});
    Demand(result == (type.empty() ? -1 : 0), "the dumps that there are");
}

void FrontPlayer::Debug() {
    static const std::vector<std::string> kOptions = {
        "--game_mode_enable",      "--game_mode_disable",       "--game_start_mode_enable",
        "--benchmark_mode_enable", "--game_start_mode_disable", "--onfire_mode_disable"};
    const std::uint8_t choice = mSource.Byte();
    std::ostringstream out;
    if (choice == 255) {
        mFront.DebugSet(out, mSource.Text(32));
    } else {
        const std::string& option = kOptions[choice % kOptions.size()];
        Demand(mFront.DebugSet(out, option), "the options that there are");
        Demand(option.find("game_start") == std::string::npos ||
                   mFront.GetGameStartFlag() == option.ends_with("enable") ||
                   out.str().starts_with("debug cmd is in effect"),
               "the flag of the game's start");
    }
}

void FrontPlayer::InitAgain() {
    PerfDefaultConfig config;
    Demand(mFront.Init(config, {}, {}, ProbeEvent()) == -1, "one initialisation");
}

void FrontPlayer::Advance() {
    static const nanoseconds kSpans[] = {
        nanoseconds(1),    milliseconds(1),    milliseconds(10),          milliseconds(20),
        milliseconds(50),  milliseconds(1000), milliseconds(60000),       milliseconds(60001),
        milliseconds(499), nanoseconds(0),     std::chrono::hours(24365), milliseconds(100)};
    const std::uint8_t choice = mSource.Byte();
    const nanoseconds span =
        choice == 255 ? nanoseconds(mSource.Word()) : kSpans[choice % std::size(kSpans)];
    Settle();
    mClock.Advance(span);
    Settle();
}

void FrontPlayer::InjectFault() {
    const std::string& path = mSource.AnyOf(FaultyNodes());
    const sim::OperationKind kind = mSource.AnyOf(kKinds);
    const std::uint8_t what = mSource.Byte();
    sim::Fault fault = what < 200 ? sim::Fault::Errno(kErrors[what % std::size(kErrors)])
                                  : sim::Fault::Short(what % 5U);
    const std::uint8_t when = mSource.Byte();
    fault = fault.StartingAt(1 + when % 4U);
    fault = when >= 128 ? fault.Forever() : fault.Times(1 + when / 4U % 4U);
    Settle();
    mHadMishap = true;
    mDevice.Inject(path, kind, fault);
}

void FrontPlayer::EndFaults() {
    Settle();
    mDevice.ClearFaults();
    for (const std::string& directory : PolicyDirectories()) {
        mDevice.SetPolicyOnline(directory, true);
        mDevice.Throttle(directory, 0);
        mDevice.RestoreTree(directory);
    }
    for (const std::string& path : FaultyNodes()) {
        mDevice.Restore(path);
        mDevice.SetReadOnly(path, false);
    }
}

void FrontPlayer::DisturbDevice() {
    const std::string& directory = mSource.AnyOf(PolicyDirectories());
    const std::string& path = mSource.AnyOf(FaultyNodes());
    Settle();
    mHadMishap = true;
    switch (mSource.Below(8)) {
        case 0:
            mDevice.SetPolicyOnline(directory, false);
            break;
        case 1:
            mDevice.SetPolicyOnline(directory, true);
            break;
        case 2:
            mDevice.Throttle(directory, MakeValue(mSource));
            break;
        case 3:
            mDevice.RemoveTree(directory);
            break;
        case 4:
            mDevice.RestoreTree(directory);
            break;
        case 5:
            mDevice.Remove(path);
            break;
        case 6:
            mDevice.Restore(path);
            break;
        default:
            mDevice.SetReadOnly(path, true);
            break;
    }
}

int FrontPlayer::Pid() {
    const std::uint8_t choice = mSource.Byte();
    return choice == 255 ? static_cast<int>(mSource.Word()) : kPids[choice % std::size(kPids)];
}

std::vector<unsigned int> FrontPlayer::Numbers() {
    std::vector<unsigned int> numbers;
    for (unsigned int count = mSource.Below(5); count > 0; --count) {
        numbers.push_back(MakeNumber(mSource));
    }
    if (!numbers.empty() && mSource.Byte() >= 250) {
        numbers.resize(mSource.Byte() * 8U, numbers.back());
    }
    return numbers;
}

void FrontPlayer::Keep(int result, unsigned long handle) {
    Demand(result == 0 || result == -1, "0 or -1 from a request");
    if (result == 0) {
        mHandles.push_back(handle);
    }
}

}  // namespace corebeacon::fuzz
