#include "resources/ioctl_level_map_group.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

using sim::Fault;
using sim::IoctlRequest;
using sim::OperationKind;
using test::LogCapture;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;
using Requests = std::vector<IoctlRequest>;
using Numbers = std::vector<unsigned int>;

constexpr const char* kFirst = "/dev/prio_first";
constexpr const char* kSecond = "/dev/prio_second";
constexpr unsigned long kSet = 0x4010781E;
constexpr unsigned long kReset = 0x4010781F;
constexpr int kDefault = 100;
constexpr int kRaised = 110;
constexpr int kNoLimit = 0;

IoctlRequest SetPrio(std::uint8_t id, std::uint8_t prio) {
    return {kSet, {id, 0, 0, 0, 0, 0, 0, 0, prio, 0, 0, 0, 0, 0, 0, 0}};
}

IoctlRequest ResetPrio(std::uint8_t id) {
    return {kReset, {id, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
}

class IoctlLevelMapGroupTest : public testing::Test {
protected:
    IoctlLevelMapGroupTest() {
        mDevice.AddIoctl(kFirst, {kSet, kReset});
        mDevice.AddIoctl(kSecond, {kSet, kReset});
    }

    /// A group on one device whose raised level has this text.
    IoctlLevelMapGroup& Make(const std::string& raised = "3:5") {
        return Make(Level2ValueMap{{kDefault, {"3:5"}}, {kRaised, {raised}}}, {kFirst});
    }

    IoctlLevelMapGroup& Make(const Level2ValueMap& levels, const Texts& nodes) {
        mGroup = std::make_unique<IoctlLevelMapGroup>(
            PerfGroupConfig("PRIO", kDefault, nodes, levels, CHIP_TYPE_COMMON), PERF_WORK_MODE_0);
        return *mGroup;
    }

    Numbers Parse(const std::string& text) {
        Numbers numbers;
        Make().StrToIntVec(text, numbers);
        return numbers;
    }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
    std::unique_ptr<IoctlLevelMapGroup> mGroup;
};

TEST_F(IoctlLevelMapGroupTest, ALevelSetsThePriorityOfItsId) {
    EXPECT_EQ(Make().DoConfig(kRaised, kNoLimit), 0);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), Requests{SetPrio(3, 5)});
    EXPECT_EQ(mDevice.Value(kFirst), "3:5");
    EXPECT_TRUE(mDevice.Writes().empty());
    EXPECT_EQ(mLog.Texts(), Texts{"############ [PRIO] final ioctl 110: 3:5\n"});
    EXPECT_EQ(mLog.Lines()[0].level, 4);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IOCL_LEVEL_MAP_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
}

TEST_F(IoctlLevelMapGroupTest, TheDefaultLevelResetsThePriorityOfItsId) {
    IoctlLevelMapGroup& group = Make();
    group.DoConfig(kRaised, kNoLimit);
    group.DoConfig(kDefault, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), (Requests{SetPrio(3, 5), ResetPrio(3)}));
    EXPECT_EQ(mDevice.Value(kFirst), "");
    EXPECT_EQ(mLog.Texts(4).back(), "############ [PRIO] final ioctl 100: 3:5\n");
}

TEST_F(IoctlLevelMapGroupTest, NumbersAreCarriedByteForByte) {
    Make("4278255360:16909060").DoConfig(kRaised, kNoLimit);  // 0xff00ff00 and 0x01020304
    EXPECT_EQ(
        mDevice.IoctlsTo(kFirst),
        (Requests{
            {kSet, {0x00, 0xff, 0x00, 0xff, 0, 0, 0, 0, 0x04, 0x03, 0x02, 0x01, 0, 0, 0, 0}}}));
}

TEST_F(IoctlLevelMapGroupTest, EachDeviceGetsItsOwnRequestInOrder) {
    Make({{kDefault, {"1:1", "2:2"}}, {kRaised, {"1:8", "2:9"}}}, {kFirst, kSecond})
        .DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), Requests{SetPrio(1, 8)});
    EXPECT_EQ(mDevice.IoctlsTo(kSecond), Requests{SetPrio(2, 9)});
    const std::vector<sim::Operation> requests = mDevice.Operations(OperationKind::IOCTL);
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].path, kFirst);
    EXPECT_EQ(mLog.Texts(4), (Texts{"############ [PRIO] final ioctl 110: 1:8\n",
                                    "############ [PRIO] final ioctl 110: 2:9\n"}));
}

TEST_F(IoctlLevelMapGroupTest, AnUnknownLevelIsRefusedWithoutARequest) {
    EXPECT_EQ(Make().DoConfig(105, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"[PRIO] invalid level: 105"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IOCL_LEVEL_MAP_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(IoctlLevelMapGroupTest, ALevelWithoutATextForEveryDeviceIsNotApplied) {
    EXPECT_EQ(Make({{kDefault, {"1:1"}}}, {kFirst, kSecond}).DoConfig(kDefault, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[PRIO] multiValueVec size: 1 is not equal to mPathInfoVec: 2"});
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IOCL_LEVEL_MAP_GRP");
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(IoctlLevelMapGroupTest, OneNumberIsTooFew) {
    EXPECT_EQ(Make("3").DoConfig(kRaised, kNoLimit), 0);
    EXPECT_EQ(mLog.Texts(6), Texts{"[PRIO] the value format of /dev/prio_first error \n"});
    EXPECT_EQ(mLog.Lines().back().function, "ScMasterPrioProc");
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(IoctlLevelMapGroupTest, AMalformedSecondNumberIsOneNumberToo) {
    Make("3:high").DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[PRIO] invalid val str : 3:high \n",
                                    "[PRIO] the value format of /dev/prio_first error \n"}));
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(IoctlLevelMapGroupTest, TwoGoodNumbersCountWhateverFollows) {
    Make("3:5:7").DoConfig(kRaised, kNoLimit);
    EXPECT_TRUE(mLog.Texts(6).empty());
    Make("3:6:?").DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), (Requests{SetPrio(3, 5), SetPrio(3, 6)}));
    EXPECT_EQ(mLog.Texts(6), Texts{"[PRIO] invalid val str : 3:6:? \n"});
}

TEST_F(IoctlLevelMapGroupTest, TextsAreSplitAtEveryColon) {
    EXPECT_EQ(Parse("7"), Numbers{7});
    EXPECT_EQ(Parse("3:5"), (Numbers{3, 5}));
    EXPECT_EQ(Parse("0:4294967294:12"), (Numbers{0, 4294967294U, 12}));
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(IoctlLevelMapGroupTest, ParsingEndsAtThePieceThatIsNoNumber) {
    const std::pair<std::string, Numbers> cases[] = {
        {"", {}},
        {":5", {}},
        {"3:", {3}},
        {"3::5", {3}},
        {"3:x:5", {3}},
        {"3:5x", {3}},
        {"3: 5", {3}},
        {"3:-1", {3}},
        {"3:4294967295:5", {3}},
        {"3:4294967296:5", {3}},
        {"3:99999999999999999999999:5", {3}},
    };
    for (const auto& [text, numbers] : cases) {
        mLog.Clear();
        EXPECT_EQ(Parse(text), numbers) << text;
        EXPECT_EQ(mLog.Texts(6), Texts{"[PRIO] invalid val str : " + text + " \n"});
        EXPECT_EQ(mLog.Lines()[0].function, "StrToIntVec");
    }
}

TEST_F(IoctlLevelMapGroupTest, NumbersAreAppended) {
    Numbers numbers{1};
    Make().StrToIntVec("2:3", numbers);
    EXPECT_EQ(numbers, (Numbers{1, 2, 3}));
}

TEST_F(IoctlLevelMapGroupTest, ADeviceThatCannotBeOpenedKeepsTheOthersNotBack) {
    mDevice.Remove(kFirst);
    IoctlLevelMapGroup& group =
        Make({{kDefault, {"1:1", "2:2"}}, {kRaised, {"1:8", "2:9"}}}, {kFirst, kSecond});
    group.DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kSecond), Requests{SetPrio(2, 9)});
    EXPECT_EQ(
        mLog.Texts(6),
        Texts{"[PRIO] open file /dev/prio_first failed, errno=2 (No such file or directory) \n"});
    EXPECT_EQ(mLog.Lines()[1].function, "ScMasterPrioProc");
    EXPECT_EQ(mLog.Lines()[1].tag, "PF_IOCL_LEVEL_MAP_GRP");

    mDevice.Restore(kFirst);
    group.DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), Requests{SetPrio(1, 8)});
}

TEST_F(IoctlLevelMapGroupTest, ARefusedRequestIsLogged) {
    mDevice.Inject(kFirst, OperationKind::IOCTL, Fault::Errno(EPERM));
    IoctlLevelMapGroup& group = Make();
    EXPECT_EQ(group.DoConfig(kRaised, kNoLimit), 0);
    EXPECT_EQ(mLog.Texts(6),
              Texts{"[PRIO] 3:5 ioctl to /dev/prio_first failed, errno=1 (Operation not "
                    "permitted) \n"});
    EXPECT_TRUE(mDevice.IoctlsTo(kFirst).empty());
    group.DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), Requests{SetPrio(3, 5)});
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U) << "it is kept through a refusal";
}

TEST_F(IoctlLevelMapGroupTest, ZeroIsADescriptorToo) {
    test::ScriptedNodeIo io(0);
    const ScopedNodeIo scope(io);
    IoctlLevelMapGroup& group = Make();
    group.DoConfig(kRaised, kNoLimit);
    group.DoConfig(kDefault, kNoLimit);
    EXPECT_EQ(io.Trace(), (Texts{"open /dev/prio_first = 0", "ioctl 0 " + std::to_string(kSet),
                                 "ioctl 0 " + std::to_string(kReset)}));
    mGroup.reset();
}

TEST_F(IoctlLevelMapGroupTest, TheDeviceStaysOpenUntilClosed) {
    IoctlLevelMapGroup& group = Make();
    group.DoConfig(kRaised, kNoLimit);
    group.DoConfig(kDefault, kNoLimit);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U);
    group.CloseAllFds();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    group.DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(mDevice.OpenDescriptors(kFirst), 1U);
    mGroup.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(IoctlLevelMapGroupTest, TheStepsAnswerWithTheResultOfTheCall) {
    const IoctlLevelMapGroup& group = Make();
    const int fd = mDevice.Open(kFirst, 1);
    EXPECT_EQ(group.SetScMasterPrio(fd, 3, 5), 0);
    EXPECT_EQ(group.ResetScMasterPrio(fd, 3), 0);
    EXPECT_EQ(mDevice.IoctlsTo(kFirst), (Requests{SetPrio(3, 5), ResetPrio(3)}));
    mDevice.Close(fd);
    EXPECT_EQ(group.SetScMasterPrio(fd, 3, 5), -1);
    EXPECT_EQ(group.ResetScMasterPrio(fd, 3), -1);
}

TEST_F(IoctlLevelMapGroupTest, TheLogSwitchSilencesWhatIsNoFailure) {
    const LogCapture quiet(0);
    Make().DoConfig(kRaised, kNoLimit);
    EXPECT_EQ(quiet.Texts(), Texts{});
}

}  // namespace
}  // namespace corebeacon
