// The built program, run as a user runs it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Program : public ::testing::Test {
protected:
    Program() {
        std::string pattern = ::testing::TempDir() + "corebeacon-XXXXXX";
        mFolder = ::mkdtemp(pattern.data());
    }
    ~Program() override {
        for (const char* name : {"out", "err", "script", "run.html", "run.json"}) {
            std::remove(File(name).c_str());
        }
        std::remove(mFolder.c_str());
    }

    std::string File(const std::string& name) const { return mFolder + "/" + name; }

    void WriteScript(const std::string& text) { std::ofstream(File("script")) << text; }

    /// `arguments` are words of the shell.
    Outcome Run(const std::string& arguments) const {
        const std::string command = std::string(COREBEACON_PROGRAM) + " " + arguments + " >" +
                                    File("out") + " 2>" + File("err");
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(File("out")),
                ReadAll(File("err"))};
    }

    std::string mFolder;
};

TEST_F(Program, TellsItsVersion) {
    const Outcome outcome = Run("--version");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "corebeacon 5.1.0\n");
}

TEST_F(Program, WritesItsTablesAsADescription) {
    const Outcome outcome = Run("table --xml --chip 2");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_TRUE(outcome.out.starts_with("<?xml version=\"1.0\""));
    EXPECT_NE(outcome.out.find("<machine chip=\"2\""), std::string::npos);
    EXPECT_NE(outcome.out.find("<eas min-boost"), std::string::npos);
    EXPECT_NE(outcome.out.find("<probe node"), std::string::npos);
}

TEST_F(Program, PlaysOnTheBoardOfAFile) {
    WriteScript(Run("table --xml --chip 1").out);
    const Outcome outcome = Run("do 'wait 1ms' --board " + File("script"));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.out.starts_with("Simulated device, chip 1: 50 of 50 QoS in service"));

    WriteScript("<board/>");
    const Outcome refused = Run("do 'wait 1ms' --board " + File("script"));
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.diagnostics,
              File("script") + ":1:1: <board> needs the attribute 'version'\n");
}

TEST_F(Program, DescribesTheMachineThatItRunsOn) {
    const Outcome outcome = Run("board init");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    WriteScript(outcome.out);
    EXPECT_EQ(Run("check " + File("script") + " --device kernel").exitCode, 0);
}

TEST_F(Program, ExplainsItself) {
    const Outcome outcome = Run("--help");
    EXPECT_EQ(outcome.exitCode, 0);
    for (const char* command : {"demo", "run", "do", "table"}) {
        EXPECT_NE(outcome.out.find(command), std::string::npos);
    }
    const Outcome ofRun = Run("run --help");
    EXPECT_EQ(ofRun.exitCode, 0);
    for (const char* verb :
         {"request pid=PID", "release NAME", "release-all pid=PID", "wait TIME", "log N",
          "scenario pid=PID", "mode pid=PID", "suspend QOS", "resume QOS", "event start|stop ID",
          "probe start|stop TID", "base-set pid=PID", "dump task|base_info", "debug OPTION",
          "version", "--device", "--chip", "--log"}) {
        EXPECT_NE(ofRun.out.find(verb), std::string::npos) << verb;
    }
}

TEST_F(Program, TellsWhenItsHelpCannotBeWritten) {
    for (const char* const arguments : {"--help", "--version", "run --help"}) {
        const std::string command =
            std::string(COREBEACON_PROGRAM) + " " + arguments + " >/dev/full 2>" + File("err");
        const int status = std::system(command.c_str());
        EXPECT_EQ(WEXITSTATUS(status), 1) << arguments;
        EXPECT_EQ(ReadAll(File("err")), "corebeacon: standard output cannot be written\n");
    }
}

TEST_F(Program, RefusesACommandLineThatItDoesNotUnderstand) {
    for (const char* arguments :
         {"", "frobnicate", "run", "demo now", "run a b", "run - --device toaster </dev/null",
          "run - --chip 3 </dev/null", "run - --chip x </dev/null", "run - --log 4 </dev/null",
          "table --chip 3", "--frobnicate"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_EQ(outcome.diagnostics.find("corebeacon: "), 0U) << arguments;
    }
}

TEST_F(Program, PlaysAScriptFile) {
    WriteScript("request pid=1001 for=60s CPU_B.boost=1952000 as h1\nrelease h1\nwait 1ms\n");
    const Outcome outcome = Run("run " + File("script") + " --device sim --chip 0");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_NE(outcome.out.find("policy2/scaling_min_freq  1952000\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("  release h1\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("policy2/scaling_min_freq  1239000\n"), std::string::npos);
}

TEST_F(Program, PlaysTheStatementsOfItsCommandLine) {
    const Outcome outcome =
        Run("do --chip 0 'scenario pid=1001 0 as s1' 'wait 1ms' 'release s1' version");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_NE(outcome.out.find("  release s1\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("core version: 5.1.0\n"), std::string::npos);
    const Outcome bad = Run("do 'wait 1ms' 'event strat 1'");
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_EQ(bad.out, "");
    EXPECT_EQ(
        bad.diagnostics,
        "<command line>:2:7: event takes start or stop, not 'strat'; did you mean 'start'?\n");
    EXPECT_EQ(Run("do").exitCode, 2);
}

TEST_F(Program, PlaysStandardInput) {
    WriteScript("request pid=1001 CPU_B.boost=1952000\nrelease-all pid=1001\n");
    const Outcome outcome = Run("run - --log 1 <" + File("script"));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("policy2/scaling_min_freq  1952000\n"), std::string::npos);
    EXPECT_NE(outcome.diagnostics.find("[CPU_B] final write: (1952000, 2487000)"),
              std::string::npos);
    EXPECT_EQ(outcome.out.find("final write"), std::string::npos);
}

TEST_F(Program, ExitsWithOneWhenSomethingWasRefused) {
    WriteScript("request pid=1001 for=1ms CPU_B.boost=1952000\n");
    const Outcome outcome = Run("run " + File("script"));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(
        outcome.diagnostics.find(File("script") +
                                 ":1:1: request refused: a timed request lasts from 20ms to 60s\n"),
        std::string::npos);
}

TEST_F(Program, ExitsWithTwoOnABadScript) {
    WriteScript("request pid=1001 CPU_B.boost=1952000\nrelease h1\n");
    const Outcome outcome = Run("run " + File("script"));
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.diagnostics, File("script") + ":2:9: no request before is named 'h1'\n");
}

TEST_F(Program, ExitsWithTwoOnAScriptThatCannotBeRead) {
    const Outcome absent = Run("run " + File("absent"));
    EXPECT_EQ(absent.exitCode, 2);
    EXPECT_EQ(absent.diagnostics,
              "corebeacon: cannot read " + File("absent") + ": No such file or directory\n");
    const Outcome folder = Run("run " + mFolder);
    EXPECT_EQ(folder.exitCode, 2);
    EXPECT_EQ(folder.diagnostics, "corebeacon: cannot read " + mFolder + ": Is a directory\n");
}

TEST_F(Program, PrintsOneDocumentOnRequest) {
    for (const char* arguments : {"table", "board init", "do version"}) {
        const Outcome outcome = Run(std::string(arguments) + " --json");
        EXPECT_EQ(outcome.exitCode, 0) << arguments;
        EXPECT_EQ(outcome.diagnostics, "") << arguments;
        EXPECT_TRUE(outcome.out.starts_with("{\n  \"schema_version\": 1,\n")) << arguments;
        EXPECT_TRUE(outcome.out.ends_with("\n}\n")) << arguments;
    }
    EXPECT_EQ(Run("table --xml --json").exitCode, 2);
}

TEST_F(Program, SaysNothingToAPipeThatNobodyReads) {
    const std::string command = "(trap '' PIPE; " + std::string(COREBEACON_PROGRAM) + " table 2>" +
                                File("err") + ") | true";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadAll(File("err")), "");
}

TEST_F(Program, PrintsATable) {
    const Outcome outcome = Run("table --chip 2");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out.find("ID "), 0U);
    EXPECT_NE(outcome.out.find("1120000..2300000"), std::string::npos);
}

TEST_F(Program, PlaysItsDemo) {
    const Outcome outcome = Run("demo");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("Final values\n"), std::string::npos);
}

TEST_F(Program, FailsWhenItsOutputGoesNowhere) {
    const int status = std::system(
        (std::string(COREBEACON_PROGRAM) + " table >/dev/full 2>" + File("err")).c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_NE(ReadAll(File("err")).find("standard output cannot be written"), std::string::npos);
}

TEST_F(Program, ShowsARunOverTimeInTheFormThatTheNameAsksFor) {
    EXPECT_EQ(Run("do 'request pid=1 CPU_B.boost=1952000' --timeline " + File("run.html")).exitCode,
              kExitDone);
    EXPECT_TRUE(ReadAll(File("run.html")).starts_with("<!DOCTYPE html>"));
    WriteScript("request pid=1 CPU_B.boost=1952000\n");
    EXPECT_EQ(Run("run " + File("script") + " --timeline " + File("run.json")).exitCode, kExitDone);
    EXPECT_NE(ReadAll(File("run.json")).find("\"traceEvents\""), std::string::npos);
}

TEST_F(Program, RefusesATimelineThatItCannotWriteBeforeItDoesAnything) {
    const Outcome unknown = Run("do 'version' --timeline run.svg");
    EXPECT_EQ(unknown.exitCode, kExitBadInput);
    EXPECT_NE(unknown.diagnostics.find("the name ends neither in .json nor in .html"),
              std::string::npos)
        << unknown.diagnostics;
    const Outcome unwritable = Run("do 'version' --timeline " + File("absent/run.html"));
    EXPECT_EQ(unwritable.exitCode, kExitBadInput);
    EXPECT_EQ(unwritable.out, "");
    EXPECT_EQ(unwritable.diagnostics, "corebeacon: cannot write " + File("absent/run.html") +
                                          ": No such file or directory\n");
}

}  // namespace
}  // namespace corebeacon::tool::test
