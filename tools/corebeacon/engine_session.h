/// An engine at work on a device, as the program's commands need it: the simulated device, the
/// kernel or what a snapshot tells of one, all its writes recorded, the built-in tables or those of
/// a board in force. For the built-in tables the simulated device also has task groups and a node
/// for probes, which they leave to the host; for a board it has whatever nodes that names. Owned by
/// the command that runs; used on one thread. One session at a time, since NodeIo, clock and log
/// switch are the process's.
#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "board/board.h"
#include "corebeacon/config_manager.h"
#include "corebeacon/default_config.h"
#include "engine/resource_manager.h"
#include "engine_front.h"
#include "host_tables.h"
#include "node_names.h"
#include "recording_node_io.h"
#include "sim/simulated_device.h"
#include "snapshot/device_snapshot.h"
#include "turn_clock.h"
#include "verify/timed_reader.h"

namespace corebeacon::tool {

class RecordingTap;
class RecordingWriter;

enum class DeviceKind {
    SIM,
    KERNEL,
    SNAPSHOT,  ///< simulated from one
    GIVEN,     ///< SessionOptions::nodes
};

/// Chips are numbered from 0.
inline constexpr unsigned kChipCount = 3;

struct SessionOptions {
    DeviceKind device = DeviceKind::SIM;
    /// Absent: what the board tells or else the device says of itself, 0 where neither does.
    std::optional<unsigned> chip;
    unsigned logSwitch = 0;
    /// Absent: the built-in tables.
    std::optional<board::Board> board = std::nullopt;
    /// Of DeviceKind::SNAPSHOT.
    std::shared_ptr<const DeviceSnapshot> snapshot = nullptr;
    /// Of DeviceKind::GIVEN: these stand for the kernel, with the built-in tables the host's too.
    NodeIo* nodes = nullptr;
    HostTables host = {};
    /// Absent: workers move freely, in real time. Else they take turns.
    std::optional<Pace> pace = std::nullopt;
    /// Told of everything; needs a pace. Must outlive the session.
    RecordingWriter* recording = nullptr;
};

class EngineSession {
public:
    /// Null when the engine does not start, which its log lines explain.
    static std::unique_ptr<EngineSession> Start(const SessionOptions& options);
    /// The same, and `diagnostics` are told of it.
    static std::unique_ptr<EngineSession> StartOrTell(const SessionOptions& options,
                                                      std::ostream& diagnostics);
    /// Ends the engine; the nodes keep their values.
    ~EngineSession();
    EngineSession(const EngineSession&) = delete;
    EngineSession& operator=(const EngineSession&) = delete;

    EngineFront& Engine() { return *mFront; }
    RecordingNodeIo& Record() { return *mRecord; }
    DeviceKind Device() const { return mOptions.device; }
    /// Null where workers move freely.
    TurnClock* Turns() { return mClock.get(); }
    unsigned Chip() const { return mConfig.controlInfo.chipType; }
    /// What this device lacks. Of a machine's own nodes, also QoS whose nodes are missing: the
    /// engine takes requests for them, but no write can succeed.
    std::vector<UnsupportedQos> Unsupported() const;
    /// The table as it is in force: narrowed to the chip and revised against the device.
    const PerfQosConfigMap& Table() const {
        return mBoard ? mConfig.qosXmlConfigMap : mConfig.qosConfigMap;
    }
    bool HasBoard() const { return mBoard.has_value(); }
    const NodeNames& Names() const { return *mNames; }
    /// Null when the chip's table has none of this id.
    const ConfigurableScenario* FindScenario(PerfScenarioId id) const;
    const ConfigurableEvent* FindEvent(PerfEventId id) const;
    const std::vector<ConfigurableScenario>& Scenarios() const { return mScenarios; }
    const std::vector<ConfigurableEvent>& Events() const { return mEvents; }
    /// Without a node where nobody says which it is: on the kernel unless the board tells.
    const ProbeEvent& Probe() const { return mProbe; }

    /// The first handle after `last` that the engine gave to `owner`: 0 for events, the thread id
    /// for a probe, whose handles the engine keeps to itself. kNoHandle when there is none.
    unsigned long FindHandle(int owner, unsigned long last) const;

    /// Waits until every command queued so far has been carried out, and returns what all groups
    /// then hold, as the engine dumps it.
    std::string Settle() const;
    /// Whether a timed request rules one of its groups, once all queued commands are carried out.
    /// `handle` is what the engine gave out; one that is 1024 apart may be taken for it.
    bool RulesAGroup(unsigned long handle) const;

    /// What a read of the node gives, if it can be read and answers in time.
    std::optional<std::string> ReadValue(const std::string& path) const;
    /// For whoever has to know why not.
    TimedReader& Reader() { return mReader; }

private:
    explicit EngineSession(const SessionOptions& options);
    int Init();
    NodeIo& MakeDevice();
    void SimulateDevice(unsigned chip);
    void TakeHostTables(const HostTables& host);
    void BeginRecording();
    void TakeTables();
    void TakeTurns();

    const SessionOptions mOptions;
    NodeIo& mFormerNodeIo;
    const unsigned mFormerLogSwitch;
    std::unique_ptr<TurnClock> mClock;                 // null where workers move freely
    std::optional<board::Board> mBoard;                // narrowed by the engine
    std::unique_ptr<sim::SimulatedDevice> mSimulated;  // null on the kernel
    std::optional<PerfQosEasConfig> mTaskGroups;  // for the built-in tables on the simulated device
    ProbeEvent mProbe;
    NodeIo& mDevice;                     // by MakeDevice, which also sets the three above
    std::unique_ptr<RecordingTap> mTap;  // null without a recording
    std::unique_ptr<RecordingNodeIo> mRecord;
    mutable TimedReader mReader;  // past the two above
    std::vector<ConfigurableEvent> mEvents;
    std::vector<ConfigurableScenario> mScenarios;
    PerfDefaultConfig mConfig;
    std::unique_ptr<ConfigManager> mEngine;
    std::unique_ptr<EngineFront> mFront;  // null until the engine has started
    std::unique_ptr<NodeNames> mNames;
};

}  // namespace corebeacon::tool
