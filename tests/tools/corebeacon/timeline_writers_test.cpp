// Both forms of a timeline, read back.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "json_document.h"
#include "timeline.h"
#include "timeline_file.h"
#include "timeline_units.h"

namespace corebeacon::tool::test {
namespace {

Timeline Example() {
    Timeline timeline;
    timeline.title = "story.qos";
    timeline.device = "Simulated device, chip 0";
    timeline.begin = "2026-11-21 04:24:20";
    timeline.end = 900;
    timeline.tracks = {
        {.qos = "CPU_B",
         .group = 0,
         .name = "CPU_B",
         .unit = "kHz",
         .isRange = true,
         .steps = {{0, 100, 900}, {200, 300, 900}},
         .nodes = {{"p/min", "/sys/p/min", {{201, "300", ""}, {250, "100", "no such device"}}},
                   {"p/max", "/sys/p/max", {{202, "900", ""}}}}},
        {.qos = "EAS",
         .group = 7,
         .name = "top",
         .unit = "",
         .isRange = false,
         .steps = {{0, 1, 1}},
         .nodes = {{"boost", "/sys/eas/boost", {{5, "80 1:90", ""}}}}}};
    timeline.requests = {
        {1, ~0UL - 12, "a", "request", 100, 400, "released", {{0, PERF_OPERATION_BOOST, 300}}},
        {1, 2, "", "scenario 0", 200, 300, "its time was over", {{1, PERF_OPERATION_LIMIT, 5}}}};
    timeline.marks = {{0, true, "A story."}, {100, false, "request pid=1"}};
    timeline.limits = {{"CPU_B", "kHz", {{700, 300, 400, "from", "until"}}}};
    return timeline;
}

Json Trace(const Timeline& timeline) {
    std::ostringstream out;
    WriteTimelineTrace(timeline, out);
    return Json::parse(out.str());
}

std::vector<Json> Events(const Json& trace, const std::string& phase) {
    std::vector<Json> events;
    for (const Json& event : trace["traceEvents"]) {
        if (event["ph"] == phase) {
            events.push_back(event);
        }
    }
    return events;
}

TEST(TimelineTrace, AGroupIsACounterOfFloorAndCeilingAndEachNodeOneOfItsWrites) {
    const std::vector<Json> counters = Events(Trace(Example()), "C");
    ASSERT_EQ(counters.size(), 5U);
    EXPECT_EQ(counters[1]["name"], "CPU_B");
    EXPECT_EQ(counters[1]["ts"], 200);
    EXPECT_EQ(counters[1]["args"], Json::parse(R"({"floor": 300, "ceiling": 900})"));
    EXPECT_EQ(counters[2]["name"], "CPU_B p/min");
    EXPECT_EQ(counters[2]["ts"], 201);
    EXPECT_EQ(counters[2]["args"], Json::parse(R"({"written": 300})"));
    EXPECT_EQ(counters[4]["name"], "EAS top");
}

TEST(TimelineTrace, RequestsOfOnePidMayOverlap) {
    const Json trace = Trace(Example());
    std::map<std::string, Json> open;
    std::set<std::string> ids;
    for (const Json& event : trace["traceEvents"]) {
        const std::string id = event.value("id", "");
        if (event["ph"] == "b") {
            EXPECT_TRUE(ids.insert(id).second) << id;
            open[id] = event;
        } else if (event["ph"] == "e") {
            ASSERT_TRUE(open.contains(id));
            EXPECT_EQ(event["name"], open[id]["name"]);
            EXPECT_EQ(event["cat"], open[id]["cat"]);
            EXPECT_EQ(event["pid"], open[id]["pid"]);
            EXPECT_GE(event["ts"], open[id]["ts"]);
            open.erase(id);
        }
    }
    EXPECT_TRUE(open.empty());
    EXPECT_EQ(ids.size(), 3U);
    const std::vector<Json> begins = Events(trace, "b");
    EXPECT_EQ(begins[0]["name"], "a");
    EXPECT_EQ(begins[0]["args"]["handle"], ~0UL - 12);
    EXPECT_EQ(begins[0]["args"]["asks for"], Json::parse(R"({"CPU_B.boost": 300})"));
    EXPECT_EQ(begins[0]["args"]["ended"], "released");
    EXPECT_EQ(begins[1]["name"], "scenario 0");
    EXPECT_EQ(begins[2]["cat"], "limit history");
}

TEST(TimelineTrace, TheEngineIsAProcessBesideThoseThatAsk) {
    std::map<int, std::string> names;
    const Json trace = Trace(Example());
    for (const Json& event : Events(trace, "M")) {
        if (event["name"] == "process_name") {
            names[event["pid"]] = event["args"]["name"];
        }
    }
    EXPECT_EQ(names, (std::map<int, std::string>{{1, "pid 1"}, {2, "corebeacon"}}));
    for (const Json& event : trace["traceEvents"]) {
        EXPECT_TRUE(names.contains(event["pid"])) << event;
        EXPECT_TRUE(event["ts"].is_number_integer()) << event;
    }
}

TEST(TimelineTrace, WhatIsNoNumberOrFailedIsAnInstant) {
    const std::vector<Json> instants = Events(Trace(Example()), "i");
    ASSERT_EQ(instants.size(), 4U);
    EXPECT_EQ(instants[0]["name"], "CPU_B p/min");
    EXPECT_EQ(instants[0]["args"]["failure"], "no such device");
    EXPECT_EQ(instants[1]["args"]["written"], "80 1:90");
    EXPECT_EQ(instants[2]["name"], "A story.");
    EXPECT_EQ(instants[3]["cat"], "statement");
    EXPECT_EQ(instants[3]["ts"], 100);
}

std::string Page(const Timeline& timeline) {
    std::ostringstream out;
    WriteTimelinePage(timeline, out);
    return out.str();
}

std::string DataText(const std::string& page) {
    const std::string mark = "id=\"data\">";
    const std::size_t begin = page.find(mark) + mark.size();
    return page.substr(begin, page.find("</script>", begin) - begin);
}

TEST(TimelinePage, HoldsTheWholeTimeline) {
    const Json data = Json::parse(DataText(Page(Example())));
    EXPECT_EQ(data["title"], "story.qos");
    EXPECT_EQ(data["end"], 900);
    EXPECT_EQ(data["tracks"][0]["steps"]["floor"], Json::parse("[100, 300]"));
    EXPECT_EQ(data["tracks"][0]["nodes"][0]["values"], Json::parse(R"(["300", "100"])"));
    EXPECT_EQ(data["tracks"][0]["nodes"][0]["failures"], Json::parse(R"({"1": "no such device"})"));
    EXPECT_EQ(data["requests"][0]["handle"], std::to_string(~0UL - 12));
    EXPECT_EQ(data["requests"][1]["parts"][0]["operation"], "limit");
    EXPECT_EQ(data["marks"][0]["kind"], "note");
    EXPECT_EQ(data["limits"][0]["entries"][0]["untilText"], "until");
}

TEST(TimelinePage, NoTextOfAScriptEndsItsData) {
    Timeline timeline = Example();
    timeline.title = "</script><script>alert(1)</script>";
    timeline.marks[0].text = "<!-- <script> \xff ]]>";
    const std::string page = Page(timeline);
    EXPECT_EQ(page.find("alert(1)</script>"), std::string::npos);
    const Json data = Json::parse(DataText(page));
    EXPECT_EQ(data["title"], timeline.title);
    EXPECT_EQ(data["marks"][0]["text"], "<!-- <script> \xef\xbf\xbd ]]>");
    EXPECT_EQ(Page(Example()).find('\xff'), std::string::npos);
}

TEST(TimelinePage, NeedsNothingElse) {
    const std::string page = Page(Example());
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>"));
    EXPECT_TRUE(page.ends_with("</html>\n"));
    EXPECT_NE(page.find("default-src 'none'; script-src 'sha256-"), std::string::npos);
    for (const char* reference : {"http://", "https://", "src=", "@import", "url("}) {
        EXPECT_EQ(page.find(reference), std::string::npos) << reference;
    }
    for (const char* placeholder : {"@CSP@", "@CSS@", "@JS@", "@DATA@"}) {
        EXPECT_EQ(page.find(placeholder), std::string::npos) << placeholder;
    }
}

TEST(TimelineFile, ItsNameTellsItsForm) {
    EXPECT_EQ(TimelineFormOf("a.json"), TimelineForm::TRACE);
    EXPECT_EQ(TimelineFormOf("a.b/c.html"), TimelineForm::PAGE);
    EXPECT_EQ(TimelineFormOf("html"), std::nullopt);
    EXPECT_EQ(TimelineFormOf("a.html.gz"), std::nullopt);
}

TEST(TimelineFile, AFullDeviceIsNoSuccess) {
    EXPECT_FALSE(WriteTimelineFile(Example(), "/dev/full"));
}

TEST(TimelineUnits, AFrequencyIsInTheUnitOfItsNodes) {
    const PerfGroupConfig cpu("B", true, 1239000, 2487000, 1239000, 2487000, {"min", "max"},
                              CHIP_TYPE_COMMON);
    const PerfGroupConfig gpu("G", true, 279000000, 750000000, 279000000, 750000000, {"min", "max"},
                              CHIP_TYPE_COMMON);
    const PerfQosFreqConfig cpuQos("B", {cpu}, FreqParameters{});
    const PerfQosFreqConfig gpuQos("G", {gpu}, FreqParameters{});
    const PerfQosConfig plain("P", {cpu});
    EXPECT_EQ(TimelineUnit(PERF_QOS_CPU_B, cpuQos, cpu), "kHz");
    EXPECT_EQ(TimelineUnit(PERF_QOS_GPU, gpuQos, gpu), "Hz");
    EXPECT_EQ(TimelineUnit(PERF_QOS_CPU_ED_TASK, plain, cpu), "");
    EXPECT_EQ(TimelineUnit(PERF_QOS_IPA_POWER, plain, cpu), "mW");
    EXPECT_EQ(TimelineUnit(PERF_QOS_IPA_SWITCH_TEMP, plain, cpu), "m°C");
}

}  // namespace
}  // namespace corebeacon::tool::test
