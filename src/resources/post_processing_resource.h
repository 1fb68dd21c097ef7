/// The base of resources whose groups depend on each other: the groups only arbitrate, and after
/// every step that may have changed a final value the resource looks at all of them and writes what
/// the change asks for. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class PostProcessingResource : public PerfResource {
public:
    explicit PostProcessingResource(const ResConstructParam& param);
    ~PostProcessingResource() override;

    // Each of these runs CommandPostProcess when its own work is done, and fails when that fails.

    int HandleCommandTimeOut() override;
    /// Looks at the groups once after each of them, so that a mode that changes several final
    /// values presents the changes one by one.
    int SetWorkMode(const PerfCommandItem& item) override;
    int CommandProcess(const PerfCommandItem& item, const GroupCommandHandler& handler) override;

    /// Worker thread only. Carries out what the final values of the groups ask for: 0 or -1.
    virtual int CommandPostProcess() = 0;
};

}  // namespace corebeacon
