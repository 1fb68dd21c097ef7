#include <cstdint>

#include "tools/sim/sim_fixture.h"

namespace corebeacon::sim {
namespace {

std::string Binary(std::int32_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

class SimDevfreq : public SimTest {
protected:
    SimDevfreq() { mDevice.AddDevfreq("/gpu", {279000000, 495000000, 750000000}); }

    std::string Range() {
        return mDevice.Value("/gpu/min_freq") + "~" + mDevice.Value("/gpu/max_freq");
    }
};

TEST_F(SimDevfreq, ShowsItsTableAndItsEnds) {
    EXPECT_EQ(ReadFrom("/gpu/available_frequencies"), "279000000 495000000 750000000\n");
    EXPECT_EQ(OpenError("/gpu/available_frequencies", O_RDWR), EACCES);
    EXPECT_EQ(Range(), "279000000~750000000");
}

TEST_F(SimDevfreq, KeepsWhatItIsAskedForWithoutRounding) {
    EXPECT_EQ(WriteTo("/gpu/max_freq", "500000001"), 0);
    EXPECT_EQ(WriteTo("/gpu/min_freq", "300000001\n"), 0);
    EXPECT_EQ(Range(), "300000001~500000001");
}

TEST_F(SimDevfreq, AMaximumBelowTheMinimumClampsTheMinimum) {
    EXPECT_EQ(WriteTo("/gpu/min_freq", "600000000"), 0);
    EXPECT_EQ(WriteTo("/gpu/max_freq", "400000000"), 0);
    EXPECT_EQ(Range(), "400000000~400000000");
    EXPECT_EQ(WriteTo("/gpu/max_freq", "0"), 0);
    EXPECT_EQ(Range(), "600000000~750000000");
    EXPECT_EQ(WriteTo("/gpu/min_freq", "0"), 0);
    EXPECT_EQ(Range(), "279000000~750000000");
}

TEST_F(SimDevfreq, StaysWithinTheEndsOfItsTable) {
    EXPECT_EQ(WriteTo("/gpu/max_freq", "999000000"), 0);
    EXPECT_EQ(WriteTo("/gpu/min_freq", "1"), 0);
    EXPECT_EQ(Range(), "279000000~750000000");
}

TEST_F(SimDevfreq, TakesTheDigitsInFrontAndRefusesATextWithoutAny) {
    for (const char* text : {"abc", "", "-1", " 1"}) {
        EXPECT_EQ(WriteTo("/gpu/max_freq", text), EINVAL) << text;
    }
    EXPECT_EQ(WriteTo("/gpu/max_freq", "500000000 Hz"), 0);
    EXPECT_EQ(mDevice.Value("/gpu/max_freq"), "500000000");
}

TEST_F(SimDevfreq, ComesBackWithoutWishesAfterItVanished) {
    EXPECT_EQ(WriteTo("/gpu/max_freq", "495000000"), 0);
    mDevice.RemoveTree("/gpu");
    mDevice.RestoreTree("/gpu");
    EXPECT_EQ(Range(), "279000000~750000000");
}

TEST_F(SimDevfreq, WithoutATableAnythingGoes) {
    mDevice.AddDevfreq("/bare", {});
    EXPECT_EQ(mDevice.Bytes("/bare/available_frequencies"), "\n");
    EXPECT_EQ(WriteTo("/bare/max_freq", "9"), 0);
    EXPECT_EQ(WriteTo("/bare/min_freq", "5"), 0);
    EXPECT_EQ(mDevice.Value("/bare/min_freq"), "5");
}

class SimNodes : public SimTest {};

TEST_F(SimNodes, ATextNodeGivesBackWhatItTook) {
    mDevice.AddText("/t", "first");
    EXPECT_EQ(ReadFrom("/t"), "first\n");
    EXPECT_EQ(WriteTo("/t", "70 550000:75"), 0);
    EXPECT_EQ(ReadFrom("/t"), "70 550000:75\n");
    EXPECT_EQ(WriteTo("/t", "with newline\n"), 0);
    EXPECT_EQ(mDevice.Value("/t"), "with newline");
    EXPECT_EQ(mDevice.Bytes("/t"), "with newline\n");
}

TEST_F(SimNodes, AReadOnlyNodeRefusesToBeOpenedForWriting) {
    mDevice.AddText("/r", "fixed", Access::READ_ONLY);
    mDevice.AddContent("/c", std::string("name\0", 5));
    EXPECT_EQ(OpenError("/r", O_WRONLY), EACCES);
    EXPECT_EQ(OpenError("/c", O_RDWR | O_TRUNC), EACCES);
    EXPECT_EQ(ReadFrom("/c"), std::string("name\0", 5));
    EXPECT_EQ(mDevice.Value("/c"), "name");
    EXPECT_EQ(mDevice.Value("/r"), "fixed");
}

TEST_F(SimNodes, ANodeMayBeMadeReadOnlyAndWritableAgain) {
    mDevice.AddNumber("/trip", 65000, -1000, 100000);
    const int held = OpenOrFail("/trip");
    mDevice.SetReadOnly("/trip", true);
    EXPECT_EQ(WriteTo("/trip", "70000"), EACCES);
    EXPECT_EQ(WriteFd(held, "71000"), 0);
    EXPECT_EQ(ReadFrom("/trip"), "71000\n");
    mDevice.SetReadOnly("/trip", false);
    EXPECT_EQ(WriteTo("/trip", "72000"), 0);
    EXPECT_EQ(mDevice.Value("/trip"), "72000");
}

TEST_F(SimNodes, AWriteOnlyNodeCannotBeRead) {
    mDevice.AddText("/w", "0", Access::WRITE_ONLY);
    EXPECT_EQ(OpenError("/w", O_RDONLY), EACCES);
    EXPECT_EQ(WriteTo("/w", "5"), 0);
    EXPECT_EQ(mDevice.Value("/w"), "5");
}

TEST_F(SimNodes, AnAbsentNodeGivesNoEntry) {
    EXPECT_EQ(OpenError("/none", O_RDONLY), ENOENT);
    EXPECT_EQ(mDevice.Open(nullptr, O_RDONLY), -1);
    EXPECT_FALSE(mDevice.Exists("/none"));
    EXPECT_EQ(mDevice.Value("/none"), "");
    EXPECT_EQ(mDevice.Bytes("/none"), "");
}

TEST_F(SimNodes, AChoiceTakesOnlyWhatItLists) {
    mDevice.AddChoice("/c", {"job_demand", "always_on"}, "job_demand");
    EXPECT_EQ(WriteTo("/c", "always_on\n"), 0);
    EXPECT_EQ(WriteTo("/c", "always"), EINVAL);
    EXPECT_EQ(mDevice.Value("/c"), "always_on");
}

TEST_F(SimNodes, ANumberNodeTakesDecimalNumbersOfItsRange) {
    mDevice.AddNumber("/n", 5, -10, 10);
    EXPECT_EQ(WriteTo("/n", "-10"), 0);
    EXPECT_EQ(mDevice.Value("/n"), "-10");
    EXPECT_EQ(WriteTo("/n", "+007"), 0);
    EXPECT_EQ(mDevice.Value("/n"), "7");
    for (const char* text : {"11", "-11", "x", "0x1", "", "1 2"}) {
        EXPECT_EQ(WriteTo("/n", text), EINVAL) << text;
    }
    EXPECT_EQ(WriteTo("/n", "-99999999999999999999"), ERANGE);
    EXPECT_EQ(mDevice.Value("/n"), "7");
}

TEST_F(SimNodes, AThermalZoneHasModePolicyPowerAndTripPoints) {
    mDevice.AddThermalZone("/tz", {"soc-thermal", 4500, {65000, 85000}});
    EXPECT_EQ(mDevice.Value("/tz/type"), "soc-thermal");
    EXPECT_EQ(OpenError("/tz/type", O_WRONLY), EACCES);
    EXPECT_EQ(mDevice.Value("/tz/mode"), "enabled");
    EXPECT_EQ(WriteTo("/tz/mode", "disabled"), 0);
    EXPECT_EQ(WriteTo("/tz/mode", "off"), EINVAL);
    EXPECT_EQ(mDevice.Value("/tz/mode"), "disabled");
    EXPECT_EQ(WriteTo("/tz/policy", "step_wise"), 0);
    EXPECT_EQ(WriteTo("/tz/sustainable_power", "9000"), 0);
    EXPECT_EQ(WriteTo("/tz/sustainable_power", "-1"), EINVAL);
    EXPECT_EQ(mDevice.Value("/tz/sustainable_power"), "9000");
    EXPECT_EQ(WriteTo("/tz/trip_point_1_temp", "90000"), 0);
    EXPECT_EQ(mDevice.Value("/tz/trip_point_1_temp"), "90000");
    EXPECT_FALSE(mDevice.Exists("/tz/trip_point_2_temp"));
}

TEST_F(SimNodes, FourBytesAreABinaryNumberWhateverTheyAre) {
    mDevice.AddBinary("/lat", Aggregate::SMALLEST, 2000000000, true);
    EXPECT_EQ(ReadFrom("/lat"), Binary(2000000000));
    const int fd = OpenOrFail("/lat", O_RDWR);
    EXPECT_EQ(WriteFd(fd, Binary(44)), 0);
    EXPECT_EQ(ReadFd(fd), Binary(44));
    EXPECT_EQ(WriteFd(fd, "1000"), 0);
    EXPECT_EQ(mDevice.Value("/lat"), std::to_string(0x30303031));
    EXPECT_EQ(mDevice.Close(fd), 0);
    EXPECT_EQ(mDevice.Value("/lat"), "2000000000");
}

TEST_F(SimNodes, OtherLengthsAreHexadecimalText) {
    mDevice.AddBinary("/lat", Aggregate::SMALLEST, 2000000000, true);
    const int fd = OpenOrFail("/lat");
    EXPECT_EQ(WriteFd(fd, "30"), 0);
    EXPECT_EQ(mDevice.Value("/lat"), "48");
    EXPECT_EQ(WriteFd(fd, "0x000000ff\n"), 0);
    EXPECT_EQ(mDevice.Value("/lat"), "255");
    EXPECT_EQ(WriteFd(fd, "xyz"), EINVAL);
    EXPECT_EQ(WriteFd(fd, ""), EINVAL);
    EXPECT_EQ(WriteFd(fd, "100000000"), ERANGE);
    EXPECT_EQ(mDevice.Value("/lat"), "255");
    EXPECT_EQ(WriteFd(fd, Binary(-1)), 0);
    EXPECT_EQ(mDevice.Value("/lat"), "2000000000");
}

TEST_F(SimNodes, EachDescriptorIsARequestOfItsOwn) {
    mDevice.AddBinary("/small", Aggregate::SMALLEST, 100, true);
    mDevice.AddBinary("/large", Aggregate::LARGEST, 0, true);
    mDevice.AddBinary("/sum", Aggregate::SUM, 0, false);
    for (const char* path : {"/small", "/large", "/sum"}) {
        const int first = OpenOrFail(path);
        const int second = OpenOrFail(path);
        EXPECT_EQ(WriteFd(first, Binary(30)), 0);
        EXPECT_EQ(WriteFd(second, Binary(20)), 0);
        const std::string all = mDevice.Value(path);
        mDevice.Close(second);
        EXPECT_EQ(mDevice.Value(path), "30");
        EXPECT_EQ(all, std::string(path) == "/small"   ? "20"
                       : std::string(path) == "/large" ? "30"
                                                       : "50");
    }
    EXPECT_EQ(WriteTo("/sum", "30"), EINVAL);
}

TEST_F(SimNodes, ASumThatOverflowsStaysAtTheLargestNumber) {
    mDevice.AddBinary("/sum", Aggregate::SUM, 0, false);
    const int first = OpenOrFail("/sum");
    const int second = OpenOrFail("/sum");
    EXPECT_EQ(WriteFd(first, Binary(2000000000)), 0);
    EXPECT_EQ(WriteFd(second, Binary(2000000000)), 0);
    EXPECT_EQ(mDevice.Value("/sum"), "2147483647");
}

TEST_F(SimNodes, ARequestDiesWithItsNode) {
    mDevice.AddBinary("/lat", Aggregate::SMALLEST, 100, true);
    const int fd = OpenOrFail("/lat");
    EXPECT_EQ(WriteFd(fd, Binary(7)), 0);
    mDevice.Remove("/lat");
    mDevice.Restore("/lat");
    EXPECT_EQ(mDevice.Value("/lat"), "100");
    EXPECT_EQ(WriteFd(fd, Binary(7)), ENODEV);
    EXPECT_EQ(mDevice.Close(fd), 0);
}

class SimIoctl : public SimTest {
protected:
    static constexpr unsigned long kSet = 0x4010781E;
    static constexpr unsigned long kReset = 0x4010781F;

    SimIoctl() { mDevice.AddIoctl("/ctrl", {kSet, kReset}); }

    struct Argument {
        std::uint32_t id = 0;
        std::uint32_t zero = 0;
        std::uint32_t priority = 0;
        std::uint32_t tail = 0;
    };

    static std::vector<std::uint8_t> Bytes(std::uint8_t id, std::uint8_t priority) {
        return {id, 0, 0, 0, 0, 0, 0, 0, priority, 0, 0, 0, 0, 0, 0, 0};
    }
};

TEST_F(SimIoctl, RecordsEachRequestWithItsSixteenBytes) {
    const int fd = OpenOrFail("/ctrl");
    Argument set{5, 0, 80, 0};
    Argument reset{5, 0, 0, 0};
    EXPECT_EQ(mDevice.Ioctl(fd, kSet, &set), 0);
    EXPECT_EQ(mDevice.Value("/ctrl"), "5:80");
    set.id = 7;
    EXPECT_EQ(mDevice.Ioctl(fd, kSet, &set), 0);
    EXPECT_EQ(mDevice.Value("/ctrl"), "5:80 7:80");
    EXPECT_EQ(mDevice.Ioctl(fd, kReset, &reset), 0);
    EXPECT_EQ(mDevice.Value("/ctrl"), "7:80");
    EXPECT_EQ(mDevice.Bytes("/ctrl"), "");
    const std::vector<IoctlRequest> expected{
        {kSet, Bytes(5, 80)}, {kSet, Bytes(7, 80)}, {kReset, Bytes(5, 0)}};
    EXPECT_EQ(mDevice.IoctlsTo("/ctrl"), expected);
    EXPECT_TRUE(mDevice.IoctlsTo("/other").empty());
    EXPECT_EQ(mDevice.TouchedNodes(), std::vector<std::string>{"/ctrl"});
}

TEST_F(SimIoctl, RefusesWhatItDoesNotKnow) {
    const int fd = OpenOrFail("/ctrl");
    Argument argument;
    EXPECT_EQ(mDevice.Ioctl(fd, 0x40107820, &argument), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(mDevice.Ioctl(fd, kSet, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(WriteFd(fd, "5:80"), EINVAL);
    EXPECT_EQ(OpenError("/ctrl", O_RDONLY), EACCES);
    mDevice.AddText("/t", "");
    const int text = OpenOrFail("/t");
    EXPECT_EQ(mDevice.Ioctl(text, kSet, &argument), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_TRUE(mDevice.IoctlsTo("/ctrl").empty());
    EXPECT_TRUE(mDevice.TouchedNodes().empty());
}

TEST_F(SimIoctl, CarriesOutOtherRequestsThatItWasGiven) {
    mDevice.AddIoctl("/other", {0x40047801});
    const int fd = OpenOrFail("/other");
    std::uint32_t word = 9;
    EXPECT_EQ(mDevice.Ioctl(fd, 0x40047801, &word), 0);
    EXPECT_EQ(mDevice.IoctlsTo("/other").at(0).argument, (std::vector<std::uint8_t>{9, 0, 0, 0}));
    EXPECT_EQ(mDevice.Value("/other"), "");
}

TEST_F(SimIoctl, ForgetsItsPrioritiesWhenItVanishes) {
    const int fd = OpenOrFail("/ctrl");
    Argument argument{5, 0, 80, 0};
    EXPECT_EQ(mDevice.Ioctl(fd, kSet, &argument), 0);
    mDevice.Remove("/ctrl");
    EXPECT_EQ(mDevice.Ioctl(fd, kSet, &argument), -1);
    EXPECT_EQ(errno, ENODEV);
    mDevice.Restore("/ctrl");
    EXPECT_EQ(mDevice.Value("/ctrl"), "");
}

}  // namespace
}  // namespace corebeacon::sim
