#include "engine_session.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "board_device.h"
#include "command/command_manager.h"
#include "command/handle.h"
#include "corebeacon/builtin_config.h"
#include "corebeacon/log.h"
#include "corebeacon/version.h"
#include "platform/node_reader.h"
#include "recording/recording_tap.h"
#include "recording/recording_writer.h"
#include "sim/eas_example.h"
#include "snapshot/snapshot_device.h"

namespace corebeacon::tool {

namespace {

/// How many low bits of a handle the engine's dumps show.
constexpr unsigned long kDumpedHandleMask = 1023;

/// Handles ascend by one each; those of debug options are all that a search has to pass over.
constexpr unsigned long kHandleSearch = 1024;

bool IsReadable(const std::string& path) {
    std::string ignored;
    return ReadNode(path, ignored) == NodeStatus::READ;
}

/// The device's own word for its chip ends in the number, "variant-2" for instance.
unsigned DetectChip() {
    std::string text;
    if (ReadNode(GetcontrolInfo().chipTypePath, text) != NodeStatus::READ) {
        return CHIP_TYPE_COMMON;
    }
    const std::string word = NodeText(text);
    const std::size_t digits = word.find_last_not_of("0123456789") + 1;
    const std::string number = word.substr(digits);
    const bool isKnown = number.size() == 1 && number[0] < static_cast<char>('0' + kChipCount);
    return isKnown ? static_cast<unsigned>(number[0] - '0') : CHIP_TYPE_COMMON;
}

/// The first node of the QoS that does not exist, "" if all do. Nothing is opened for writing:
/// that alone makes some devices act.
std::string MissingNode(const PerfQosConfig& config) {
    for (const PerfGroupConfig& row : config.groups) {
        for (const std::string& path : row.sysNodePaths) {
            const int fd = GetNodeIo().Open(path.c_str(), O_PATH | O_CLOEXEC);
            if (fd >= 0) {
                GetNodeIo().Close(fd);
            } else if (errno == ENOENT) {
                return path;
            }
        }
    }
    return "";
}

/// What is not told is found out.
PerfConfigControlInfo DetectMachine(std::optional<unsigned> chip, const board::Machine& told) {
    PerfConfigControlInfo info;
    info.chipType = static_cast<ChipTypeAvailableValue>(chip ? *chip : DetectChip());
    info.invalidClusters = told.absent;
    info.cpuBoostEnabled = told.cpuBoost.value_or(IsReadable(GetcontrolInfo().cpuBoostPath));
    info.boardIpaEnabled = told.boardIpa.value_or(IsReadable(GetcontrolInfo().thermalZoneTypePath));
    return info;
}

std::optional<unsigned> ToldChip(const SessionOptions& options) {
    return options.chip || !options.board ? options.chip : options.board->machine.chip;
}

/// Bursts of work on a thread: floors that every chip has.
ProbeEvent SimulatedProbe() {
    return {.nodePath = "/sys/kernel/sched/probe_thread",
            .bindText = "bind",
            .unbindText = "unbind",
            .startDelayMs = 0,
            .spanMs = 500,
            .cpuM = 1364000,
            .cpuB = 2138000,
            .gpu = 400000000};
}

}  // namespace

std::unique_ptr<EngineSession> EngineSession::Start(const SessionOptions& options) {
    std::unique_ptr<EngineSession> session(new EngineSession(options));
    return session->Init() == 0 ? std::move(session) : nullptr;
}

std::unique_ptr<EngineSession> EngineSession::StartOrTell(const SessionOptions& options,
                                                          std::ostream& diagnostics) {
    std::unique_ptr<EngineSession> session = Start(options);
    if (session == nullptr) {
        diagnostics << "corebeacon: the engine does not start; its log above tells why\n";
    }
    return session;
}

EngineSession::EngineSession(const SessionOptions& options)
    : mOptions(options),
      mFormerNodeIo(GetNodeIo()),
      mFormerLogSwitch(PfLogonNamespace::PfLogonGet()->load()),
      mClock(options.pace ? std::make_unique<TurnClock>(*options.pace) : nullptr),
      mBoard(options.board),
      mDevice(MakeDevice()),
      mReader(mDevice) {
    NodeIo* device = &mDevice;
    if (options.recording != nullptr) {
        BeginRecording();
        device = mTap.get();
    }
    mRecord = std::make_unique<RecordingNodeIo>(*device);
    SetNodeIo(mRecord.get());
    PfLogonNamespace::PfLogonSet(options.logSwitch);
}

EngineSession::~EngineSession() {
    if (mTap != nullptr) {
        mTap->Stop();
        mOptions.recording->End(mFront != nullptr);
    }
    if (mClock != nullptr) {
        mClock->LetGo();
    }
    mEngine.reset();
    SetNodeIo(&mFormerNodeIo);
    PfLogonNamespace::PfLogonSet(mFormerLogSwitch);
}

NodeIo& EngineSession::MakeDevice() {
    switch (mOptions.device) {
        case DeviceKind::SIM:
            SimulateDevice(ToldChip(mOptions).value_or(CHIP_TYPE_COMMON));
            return *mSimulated;
        case DeviceKind::SNAPSHOT:
            mSimulated = SimulateSnapshot(*mOptions.snapshot);
            mSimulated->SetRecordLimit(0);
            return *mSimulated;
        case DeviceKind::GIVEN:
            TakeHostTables(mOptions.host);
            return *mOptions.nodes;
        case DeviceKind::KERNEL:
            break;
    }
    return mFormerNodeIo;
}

/// What a board tells of these comes first.
void EngineSession::TakeHostTables(const HostTables& host) {
    mProbe = host.probe;
    if (host.hasTaskGroups) {
        mTaskGroups = sim::MakeEasConfig();
    }
}

void EngineSession::SimulateDevice(unsigned chip) {
    mSimulated = sim::SimulatedDevice::ForChip(chip);
    if (mSimulated == nullptr) {
        mSimulated = std::make_unique<sim::SimulatedDevice>();  // a board's own variant
    }
    mSimulated->SetRecordLimit(0);
    if (mBoard) {
        AddNodesOf(*mBoard, *mSimulated);
        return;
    }
    sim::AddEasNodes(*mSimulated);
    TakeHostTables({.hasTaskGroups = true, .probe = SimulatedProbe()});
    mSimulated->AddText(mProbe.nodePath, "");
}

void EngineSession::BeginRecording() {
    const bool isSim = mOptions.device == DeviceKind::SIM;
    RecordingHead head{.recordedAt = UtcNow(),
                       .program = COREBEACON_VERSION,
                       .machine = MachineText(),
                       .chip = mOptions.chip,
                       .board = mBoard,
                       .host = {mTaskGroups.has_value(), mProbe}};
    if (isSim && !ToldChip(mOptions)) {
        head.chip = CHIP_TYPE_COMMON;
    }
    mOptions.recording->Begin(head);
    mTap = std::make_unique<RecordingTap>(mDevice, *mOptions.recording);
}

void EngineSession::TakeTables() {
    if (mBoard) {
        mConfig.qosXmlConfigMap = mBoard->QosMap();
        mEvents = mBoard->events;
        mScenarios = mBoard->scenarios;
        mProbe = mBoard->probe;
        return;
    }
    mConfig.qosConfigMap = GetPerfQosConfigMap();
    if (mTaskGroups) {
        mConfig.qosConfigMap.emplace(PERF_QOS_EAS, *mTaskGroups);
    }
    mEvents = GetConfigurableEventVec(mConfig.controlInfo.chipType);
    mScenarios = GetConfigurableScenarioVec(mConfig.controlInfo.chipType);
}

int EngineSession::Init() {
    // The simulated device says nothing of its chip: it was made for one.
    const std::optional<unsigned> chip = ToldChip(mOptions);
    const bool isSim = mOptions.device == DeviceKind::SIM;
    mConfig.controlInfo = DetectMachine(isSim ? chip.value_or(CHIP_TYPE_COMMON) : chip,
                                        mBoard ? mBoard->machine : board::Machine());
    TakeTables();
    mEngine = std::make_unique<ConfigManager>();
    if (mEngine->Init(mConfig, mEvents, mScenarios, mProbe) != 0) {
        return -1;
    }
    mNames = std::make_unique<NodeNames>(Table());
    mFront = std::make_unique<EngineFront>(*mEngine, mClock.get());
    TakeTurns();
    return 0;
}

void EngineSession::TakeTurns() {
    if (mClock == nullptr) {
        return;
    }
    std::vector<PerfQosId> ids;
    mEngine->Resources().GetResourceIds(ids);
    std::vector<TurnClock::Station> stations;
    for (const PerfQosId id : ids) {
        const PerfResource* const resource = mEngine->Resources().GetResourcePtr(id).get();
        stations.push_back({resource, resource + 1});
    }
    RecordingWriter* const recording = mOptions.recording;
    if (recording == nullptr) {
        mClock->Conduct(std::move(stations));
        return;
    }
    mTap->EngineStarted();
    mClock->Conduct(std::move(stations),
                    [recording](Round round, TimePoint time) { recording->Turn(round, time); });
    mFront->SetListener(
        [recording](const EngineCall& call) { recording->Call(call, SteadyNow()); });
}

const ConfigurableScenario* EngineSession::FindScenario(PerfScenarioId id) const {
    const auto found = std::ranges::find(mScenarios, id, &ConfigurableScenario::scenarioId);
    return found != mScenarios.end() ? &*found : nullptr;
}

const ConfigurableEvent* EngineSession::FindEvent(PerfEventId id) const {
    const auto found = std::ranges::find(mEvents, id, &ConfigurableEvent::eventId);
    return found != mEvents.end() ? &*found : nullptr;
}

unsigned long EngineSession::FindHandle(int owner, unsigned long last) const {
    for (unsigned long handle = last + 1; handle <= last + kHandleSearch; ++handle) {
        if (mEngine->Commands().IsRegistered(owner, handle)) {
            return handle;
        }
    }
    return kNoHandle;
}

std::vector<UnsupportedQos> EngineSession::Unsupported() const {
    std::vector<UnsupportedQos> unsupported = mEngine->Resources().GetUnsupportedQos();
    if (mOptions.device == DeviceKind::SIM) {
        return unsupported;
    }
    std::vector<PerfQosId> served;
    mEngine->Resources().GetResourceIds(served);
    for (const PerfQosId id : served) {
        const PerfQosConfig& config = Table().at(id);
        if (const std::string path = MissingNode(config); !path.empty()) {
            unsupported.push_back({id, config.name, "there is no " + path});
        }
    }
    std::ranges::sort(unsupported, {}, &UnsupportedQos::id);
    return unsupported;
}

std::string EngineSession::Settle() const {
    // A resource answers a dump in its turn, after all that was queued before.
    const ResourceManager& resources = mEngine->Resources();
    std::vector<PerfQosId> ids;
    resources.GetResourceIds(ids);
    for (const PerfQosId id : ids) {
        auto item = std::make_shared<PerfCommandItem>();
        item->qosId = id;
        resources.GetResourcePtr(id)->SendCommandToFifoQ({PERF_COMMAND_GET_LOG, item});
    }
    std::ostringstream dump;
    for (const PerfQosId id : ids) {
        resources.GetResourcePtr(id)->WaitLogFinish(false, dump);
    }
    return dump.str();
}

bool EngineSession::RulesAGroup(unsigned long handle) const {
    // A dump shows the timed item in force as "boost(VALUE, HANDLE)" or "limit(VALUE, HANDLE)".
    const std::string dump = Settle();
    const std::string shown = ", " + std::to_string(handle & kDumpedHandleMask) + ")";
    for (std::size_t at = dump.find(shown); at != std::string::npos;
         at = dump.find(shown, at + 1)) {
        const std::string_view before =
            std::string_view(dump).substr(0, std::min(dump.rfind('(', at), at));
        if (before.ends_with("boost") || before.ends_with("limit")) {
            return true;
        }
    }
    return false;
}

std::optional<std::string> EngineSession::ReadValue(const std::string& path) const {
    NodeReading reading = mReader.Read(path);
    return reading.status == NodeReading::READ ? std::optional(std::move(reading.text))
                                               : std::nullopt;
}

}  // namespace corebeacon::tool
