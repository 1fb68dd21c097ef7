/// The floor of the memory frequency. Requests may give it in kHz or in Hz; the number of digits
/// tells which, and the group brings it into the unit of its own row. What is written depends on
/// the coefficient: a bandwidth, the frequency as a binary number, or the frequency as text. Owned
/// by its DdrResource, whose worker thread alone calls it; only the checks of requested values may
/// be called from any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "resources/single_node_value_group.h"

namespace corebeacon {

class DdrGroup : public SingleNodeValueGroup {
public:
    /// `config` must have passed SingleNodeValueGroup's check. `coefficient` is the bandwidth in
    /// MB/s per MHz; below 0 the frequency itself is written, as a binary number, at 0 as text.
    DdrGroup(const PerfGroupConfig& config, PerfWorkMode mode, float coefficient);
    ~DdrGroup() override;

    /// Appends the base boost in the form in which it is written.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// Brings a frequency into the unit and the range of the row: 0, or -1 for a value below 1.
    /// Any thread.
    int OperationValueValidate(int& value) const override;
    /// Writes the node; `limit` plays no part. 0, or -1 when the node did not take it.
    int DoConfig(int boost, int limit) override;
    void DescribeKind(GroupState& state) const override;

private:
    void InitConfigValue();
    /// The value of `frequency`, which is above 0, in the row's unit.
    std::int64_t ToConfigUnit(int frequency) const;
    /// MB/s for a frequency in kHz or Hz.
    int BandwidthOf(int frequency) const;
    /// Writes the node its 4 bytes: 0, or -1 when it did not take them.
    int WriteBinary(int value);

    static constexpr unsigned int kMhzFromHzDivisor = 1000000;
    static constexpr unsigned int kKhzHzFactor = 1000;
    // 10 GHz and more is no memory frequency, so that seven digits are kHz; a frequency in Hz has
    // nine digits at least. Eight digits mean neither clearly.
    static constexpr int kKhzMaxDigits = 7;
    static constexpr int kHzMinDigits = 9;

    // Fixed after construction.
    const float mBandwidthCoefficient;
    bool mConfigInKhz = false;
};

}  // namespace corebeacon
