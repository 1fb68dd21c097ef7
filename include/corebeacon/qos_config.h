/// The static description of one QoS and the kinds of it whose rows are checked against the running
/// kernel. The objects belong to the built-in tables or to the host. Only the thread that sets an
/// engine up calls their operations, which edit the rows in place; no engine keeps a reference.
///
/// What a kind adds to its rows is a record of its own (FreqParameters, EasParameters, ...), a base
/// class of the kind. A resource looks for the record, not for the kind, so that a compiled-in
/// description and a loaded one serve it alike.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "corebeacon/export.h"
#include "corebeacon/group_config.h"

namespace corebeacon {

struct PerfConfigControlInfo;

/// A parameter given twice: for QoS of the compiled-in table and for loaded descriptions.
template <typename T>
struct ByOrigin {
    T compiledIn{};
    T loaded{};

    const T& Of(bool isLoaded) const { return isLoaded ? loaded : compiledIn; }
};

/// What a frequency QoS needs beside its row.
struct COREBEACON_API FreqParameters {
    /// Lists the available frequencies, as scaling_available_frequencies (cpufreq) and
    /// available_frequencies (devfreq) do.
    std::string availableFreqsPath;
    /// The row's maxima are replaced by the highest frequency that the kernel lists.
    bool overwriteMaxFreq = false;
    /// For AdjustFreqsByProperty; free text.
    std::string property;
    /// Told whether a limit is in force: "0" with one, "5000" without. Empty: no such node.
    ByOrigin<std::string> gpuTopFreqPath;
};

/// What the DDR QoS needs beside that.
struct COREBEACON_API DdrParameters {
    /// Level to texts, for hosts that describe their memory in levels; carried along.
    Level2ValueMap levelTable;
    /// Bandwidth in MB/s per MHz. Above 0 the bandwidth is written, below 0 the frequency as a
    /// binary number, at 0 the frequency as text.
    ByOrigin<float> bandwidthCoefficient{9.6F, 9.6F};
};

/// What one EAS level stands for.
struct COREBEACON_API EasValue {
    int boost = 0;                  ///< schedtune boost, within the QoS's bounds
    std::uint32_t globalBoost = 0;  ///< 1: the level needs global boost; only 0 and 1 are valid
};

/// The switch that serves all EAS groups together.
struct COREBEACON_API EasGlobalBoost {
    std::map<int, std::uint32_t>
        levelToGlobalBoost;  ///< levels that ask for it (1) or forbid it (0)
    std::string nodePath;    ///< takes 0 or 1
};

/// What the EAS QoS needs beside its rows, which all share one level table.
struct COREBEACON_API EasParameters {
    std::map<int, EasValue> levelToValueMap;
    int minBoost = 0;  ///< bounds of EasValue::boost, both valid
    int maxBoost = 0;
    ByOrigin<EasGlobalBoost> globalBoost;
};

/// The power budgets, in mW, at which the thermal power allocators are switched off.
struct COREBEACON_API IpaThresholds {
    int socSwitch = 10000;   ///< decides where the board has no allocator of its own
    int boardSwitch = 9999;  ///< decides where it has one
};

struct COREBEACON_API IpaPowerParameters {
    ByOrigin<IpaThresholds> thresholds;
};

/// A QoS without further knowledge: a name and its rows.
class COREBEACON_API PerfQosConfig {
public:
    PerfQosConfig(std::string qosName, std::vector<PerfGroupConfig> rows);
    virtual ~PerfQosConfig();
    PerfQosConfig(const PerfQosConfig&);
    PerfQosConfig& operator=(const PerfQosConfig&);

    /// Brings the surviving rows in line with the kernel. 0, or -1 (logged) when the QoS cannot be
    /// used on this machine.
    virtual int ReviseGroupConfigValue(unsigned int chipType);

    /// Leaves the rows of the running chip: its own where there is one, else the common one. Always
    /// 0. `qosId` is for hosts' own kinds.
    virtual int GetGroupConfigByChipType(unsigned int qosId,
                                         const PerfConfigControlInfo& controlInfo);

    /// Erases every node whose path contains one of `invalidClusters`, and every row left without
    /// nodes. True when no row is left: the machine does not have this QoS.
    virtual bool IsQosConfigValidByInvalidCluster(unsigned int qosId,
                                                  std::vector<std::string>& invalidClusters);

    /// One row's part of that: erases the paths, and the column of each from the level map. `index`
    /// is the column of the first path and ends as the number of paths left.
    virtual void RemoveInvalidClusterConfig(const std::vector<std::string>& invalidClusters,
                                            std::vector<std::string>& sysNodePaths,
                                            Level2ValueMap& level2ValueMap, unsigned short& index);

    /// Erases column `index` level by level; ends, with a warning, at a level without that column.
    virtual void RemoveValueFromLevel2ValueMap(unsigned short index,
                                               Level2ValueMap& level2ValueMap);

    std::string name;
    std::vector<PerfGroupConfig> groups;
};

/// A frequency range with a floor node and a ceiling node, in that order. Revision needs exactly
/// one row and a readable frequency list.
class COREBEACON_API PerfQosFreqConfig : public PerfQosConfig, public FreqParameters {
public:
    PerfQosFreqConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                      FreqParameters freqParameters);

    int ReviseGroupConfigValue(unsigned int chipType) override;

    /// Reads the list at `path`, ascending and without duplicates. 0, or -1 (logged) when the node
    /// cannot be opened or lists nothing; `freqs` is then untouched.
    int GetAvlFreqs(const std::string& path, std::vector<std::int64_t>& freqs) const;

    /// Narrows the single row to the ascending, non-empty `freqs`.
    void AdjustMinMax(const std::vector<std::int64_t>& freqs);

    /// For hosts' kinds whose list needs a correction that `property` describes; leaves it alone
    /// here.
    virtual void AdjustFreqsByProperty(unsigned int chipType, std::vector<std::int64_t>& freqs);
};

/// The memory frequency, whose row has a single node.
class COREBEACON_API PerfQosDdrConfig : public PerfQosFreqConfig, public DdrParameters {
public:
    PerfQosDdrConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                     FreqParameters freqParameters, DdrParameters ddrParameters);
};

/// The scheduler's boost per task group; every row counts on every chip.
class COREBEACON_API PerfQosEasConfig : public PerfQosConfig, public EasParameters {
public:
    PerfQosEasConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                     EasParameters easParameters);

    /// Gives every row the level table, after checking each level.
    int ReviseGroupConfigValue(unsigned int chipType) override;
    int GetGroupConfigByChipType(unsigned int qosId,
                                 const PerfConfigControlInfo& controlInfo) override;
};

/// The thermal power budget: one row of three nodes.
class COREBEACON_API PerfQosIpaPowerConfig : public PerfQosConfig, public IpaPowerParameters {
public:
    PerfQosIpaPowerConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                          IpaPowerParameters ipaPowerParameters);

    int ReviseGroupConfigValue(unsigned int chipType) override;
};

/// A memory-latency monitor: group 0 its target ratio, group 1 its enable switch.
class COREBEACON_API PerfQosTargetRatioConfig : public PerfQosConfig {
public:
    using PerfQosConfig::PerfQosConfig;

    /// The ratio's row is chosen by chip; the one switch serves every chip.
    int GetGroupConfigByChipType(unsigned int qosId,
                                 const PerfConfigControlInfo& controlInfo) override;
};

/// A description that the host has loaded from elsewhere. It can stand for every kind: `type` says
/// how the rows are treated ("freq", "eas", "memlat"; any other: one plain row), and the records of
/// all kinds are at hand for the resource that the QoS id calls for.
class COREBEACON_API PerfQosXmlLoadConfig : public PerfQosConfig,
                                            public FreqParameters,
                                            public DdrParameters,
                                            public EasParameters,
                                            public IpaPowerParameters {
public:
    PerfQosXmlLoadConfig(std::string qosName, std::string descriptionType,
                         std::vector<PerfGroupConfig> rows);

    int ReviseGroupConfigValue(unsigned int chipType) override;
    int GetGroupConfigByChipType(unsigned int qosId,
                                 const PerfConfigControlInfo& controlInfo) override;

    /// As PerfQosFreqConfig's.
    int FreqReviseGroupConfigValue();
    int FreqGetAvlFreqs(const std::string& path, std::vector<std::int64_t>& freqs) const;
    void FreqAdjustMinMax(const std::vector<std::int64_t>& freqs);
    /// As PerfQosEasConfig's.
    int EasReviseGroupConfigValue();
    /// "memlat" needs exactly two rows, anything else exactly one.
    int DefaultReviseGroupConfigValue();

    std::string type;
};

}  // namespace corebeacon
