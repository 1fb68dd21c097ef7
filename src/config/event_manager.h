/// The events that can be started, by id, and the description of probes. Owned by the front. Init
/// and Update run on the thread that sets the engine up; afterwards both are only read, by any
/// number of threads.
#pragma once

#include <cstdint>
#include <map>
#include <sstream>
#include <vector>

#include "config/group_values.h"
#include "corebeacon/configurable_event.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

/// The greatest event id; greater numbers tell other kinds of commands apart from events.
inline constexpr PerfEventId kMaxEventId = 19;
/// Bounds of one step of an event in ms, both valid.
inline constexpr std::uint32_t kMinStepDurationMs = 20;
inline constexpr std::uint32_t kMaxStepDurationMs = 60000;

/// One step of an event for one QoS. The times are ms from the start of the event.
struct PerfEventItemInt {
    std::uint32_t startTime = 0;
    std::uint32_t endTime = 0;
    GroupValueMap groups;
};

/// Event to QoS to the steps of that QoS, in their order in time.
using EventTable = std::map<PerfEventId, std::multimap<PerfQosId, PerfEventItemInt>>;

class EventManager {
public:
    /// The table that `events` describe. Empty, with a line at error level, when an id is too great
    /// or occurs twice, a step is too short, too long or ends later than its times can tell, or an
    /// event or a step asks for nothing.
    EventTable Init(const std::vector<ConfigurableEvent>& events) const;

    /// The steps of one event; empty on failure.
    std::multimap<PerfQosId, PerfEventItemInt> LoadQosToEventItem(
        const std::vector<QosCommand>& qosCommands) const;

    /// The values of one step; empty on failure.
    GroupValueMap LoadGroupInfo(const std::vector<GroupInfo>& groupInfos) const;

    /// Puts both in force. Probes do not depend on events: the table may be empty.
    void Update(EventTable table, const ProbeEvent& probeEvent);

    /// The steps of an event; empty for an unknown id.
    std::multimap<PerfQosId, PerfEventItemInt> EventIdToQosInfo(PerfEventId eventId) const;

    const ProbeEvent& GetProbeInfo() const { return mProbeEvent; }

    /// Writes the table in force as text: one line an event, then one line a step.
    void Dump(std::ostringstream& out) const;

private:
    // Appends the steps of one QoS to `items`; false on failure.
    bool LoadSequence(const QosCommand& command,
                      std::multimap<PerfQosId, PerfEventItemInt>& items) const;

    // fixed after Update
    EventTable mTable;
    ProbeEvent mProbeEvent;
};

}  // namespace corebeacon
