#include <gtest/gtest.h>

#include <set>
#include <string>

#include "corebeacon/builtin_config.h"

namespace corebeacon {
namespace {

TEST(QosNames, EveryEntryOfTheTableIsKnownByItsName) {
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        ASSERT_NE(PerfQosName(qosId), nullptr) << qosId;
        EXPECT_EQ(config.get().name, PerfQosName(qosId));
    }
}

TEST(QosNames, QosThatOnlyHostsDescribeHaveNamesToo) {
    EXPECT_STREQ(PerfQosName(PERF_QOS_CPU_BOOST), "CPU_BOOST");
    EXPECT_STREQ(PerfQosName(PERF_QOS_EAS), "EAS");
    EXPECT_STREQ(PerfQosName(PERF_QOS_EAS_BASE), "EAS_BASE");
}

TEST(QosNames, FiftyTwoIdsHaveANameAndNoTwoTheSame) {
    std::set<std::string> names;
    std::size_t count = 0;
    for (unsigned id = 0; id <= PERF_QOS_INVALID; ++id) {
        const char* name = PerfQosName(static_cast<PerfQosId>(id));
        if (name != nullptr) {
            ++count;
            names.insert(name);
        }
    }
    EXPECT_EQ(count, 52U);
    EXPECT_EQ(names.size(), count);
    for (const char* name : kPerfHostQosNames) {
        EXPECT_TRUE(names.insert(name).second) << name;
    }
}

TEST(QosNames, AnIdWithoutANameGivesNull) {
    for (const unsigned id : {13U, 63U, 105U, 4294967295U}) {
        EXPECT_EQ(PerfQosName(static_cast<PerfQosId>(id)), nullptr) << id;
    }
}

TEST(QosNames, TheNineEasGroupsAreNamedAfterTheirTaskGroups) {
    const std::vector<std::string> expected = {"TOP_APP",        "BOOST",      "FOREGROUND",
                                               "ROOT",           "BACKGROUND", "SYSTEM_BACKGROUND",
                                               "KEY_BACKGROUND", "VIP",        "GRAPHIC"};
    ASSERT_EQ(expected.size(), kPerfEasGroupCount);
    for (unsigned groupId = 0; groupId < kPerfEasGroupCount; ++groupId) {
        EXPECT_EQ(PerfEasGroupName(groupId), expected[groupId]);
    }
    EXPECT_EQ(PerfEasGroupName(kPerfEasGroupCount), nullptr);
}

}  // namespace
}  // namespace corebeacon
