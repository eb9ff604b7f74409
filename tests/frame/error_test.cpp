// Status, mode, reporter and the three reporters' words.

#include "kit/platform.h"
#include "kit/reports.h"

#include "frame/context.h"
#include "frame/daxlib.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

using kit::StandIn;
using testing::ElementsAre;

// A thread's state as it was before the test.
class Error : public testing::Test {
protected:
    kit::Reports state;
};

TEST_F(Error, StatusIsStickyAndTraceStatusesAreNotStored) {
    static std::vector<std::string> seen;
    seen.clear();
    daxRedirectError([](DaxStatus status, const char* funcName, const char* context,
                        const char* file, int32_t line) {
        seen.push_back(std::to_string(status) + funcName + context + file + std::to_string(line));
        return DaxStatus{77};
    });
    for (const DaxStatus status : {-2, -3, -4, -5, -6, -7, -9, 5, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(daxError(status, "f", "c", "m", -3), 77);
        EXPECT_EQ(daxGetErrStatus(), status);
        EXPECT_EQ(daxError(-1, "f", "", "m", 0), 77);
        EXPECT_EQ(daxError(-8, "f", "", "m", 0), 77);
        EXPECT_EQ(daxGetErrStatus(), status);
        EXPECT_THAT(seen, ElementsAre(std::to_string(status) + "fcm-3", "-1fm0", "-8fm0"));
        seen.clear();
    }
    EXPECT_EQ(daxError(0, nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(daxGetErrStatus(), 0);
    EXPECT_TRUE(seen.empty());
    daxSetErrMode(-7);
    EXPECT_EQ(daxGetErrMode(), -7);
    daxSetErrStatus(-1);
    EXPECT_EQ(daxGetErrStatus(), -1);
}

TEST_F(Error, StatusTexts) {
    const char* const texts[] = {
        "No Error",      "Backtrace",    "Unknown error",        "Internal error (bad state)",
        "Out of memory", "Bad argument", "Unsupported function", "Iteration convergence failed",
        "Autotrace call"};
    for (int32_t i = 0; i < 9; ++i) EXPECT_STREQ(daxErrorStr(-i), texts[i]);
    const char* unknown = daxErrorStr(-9);
    EXPECT_STREQ(unknown, "Unknown error code -9");
    EXPECT_EQ(unknown, daxUndContext()->unknownCodeText);
    EXPECT_STREQ(daxErrorStr(1), "Unknown status code 1");
    EXPECT_STREQ(unknown, "Unknown status code 1");
    EXPECT_STREQ(daxErrorStr(INT32_MIN), "Unknown error code -2147483648");
}

TEST_F(Error, RedirectGivesThePreviousReporterBack) {
    const DaxErrorReporter mine = daxRedirectError(nullptr);
    EXPECT_EQ(daxUndContext()->reporter, daxGuiBoxReport);
    EXPECT_EQ(daxRedirectError(daxStdErrReport), daxGuiBoxReport);
    EXPECT_EQ(daxRedirectError(mine), daxStdErrReport);
}

TEST_F(Error, StandardErrorReport) {
    const struct {
        DaxStatus status;
        const char *funcName, *context, *file;
        int32_t line;
        const char* text;
    } cases[] = {
        {-5, "daxAdd", "X", "f", 7,
         "\nDAX Library Error: Bad argument \n\tin function [f:7]:daxAdd(): X\n<flush>"},
        {-5, nullptr, nullptr, nullptr, 0,
         "\nDAX Library Error: Bad argument \n\tin function:<unknown>\n<flush>"},
        {-9, "f", "", nullptr, -1,
         "\nDAX Library Error: Unknown error code -9 \n\tin function:f(): \n<flush>"},
        {0, "f", "%s", "%d", -1,
         "\nDAX Library Error: No Error \n\tin function [%d:-1]:f(): %s\n<flush>"},
        {-1, "outer", "", "m", 1, "\tcalled from [m:1]:outer(): \n<flush>"},
        {-1, "outer", nullptr, "m", 0, "\tcalled from [m:0]:outer\n<flush>"},
        {-8, "f", "a, b", nullptr, 3, "\tcalled from [(null):3]:f(a, b)\n<flush>"},
        {-8, nullptr, nullptr, nullptr, 0, "\tcalled from:<unknown>\n<flush>"},
    };
    StandIn platform;
    for (const int32_t mode : {DAX_ErrModeParent, 3, -1, DAX_ErrModeSilent, DAX_ErrModeLeaf})
        for (const auto& is : cases) {
            daxSetErrMode(mode);
            platform.errorText.clear();
            platform.events.clear();
            DaxStatus result = 99;
            const bool ended = platform.ends([&] {
                result = daxStdErrReport(is.status, is.funcName, is.context, is.file, is.line);
            });
            EXPECT_EQ(ended, mode == DAX_ErrModeLeaf);
            EXPECT_EQ(result, ended ? 99 : is.status);
            std::string text = mode == DAX_ErrModeSilent ? "" : is.text;
            if (ended) {
                text += "DAX Library Error\nErrMode=DAX_ErrModeLeaf\nterminating the "
                        "application<flush>";
                EXPECT_THAT(platform.events, ElementsAre("exit 1"));
            }
            EXPECT_EQ(platform.errorText, text);
        }
}

TEST_F(Error, SilentDevice) {
    StandIn platform;
    for (const int32_t mode : {DAX_ErrModeParent, DAX_ErrModeSilent, 3}) {
        daxSetErrMode(mode);
        EXPECT_EQ(daxNulDevReport(-5, nullptr, nullptr, nullptr, 0), -5);
    }
    EXPECT_THAT(platform.events, ElementsAre());
    daxSetErrMode(DAX_ErrModeLeaf);
    EXPECT_TRUE(platform.ends([] { daxNulDevReport(-5, "f", "c", "m", 1); }));
    EXPECT_THAT(platform.events, ElementsAre("exit 1"));
    EXPECT_EQ(platform.errorText, "");
}

TEST_F(Error, BoxReport) {
    // The caption tells the stored status, which is -4 all the time.
    const std::string caption = "DAX Library Error: Out of memory|";
    const struct {
        DaxStatus status;
        const char *funcName, *context, *file;
        int32_t line;
        const char* body;
    } cases[] = {
        {-5, "daxAdd", "(a != b)", "daxadd", 7, "in function [daxadd:7]:daxAdd():\n(a != b)"},
        {12, nullptr, "", nullptr, -7, "in function [:0]:<unknown>():\n"},
        {-1, "outer", "", "m", 0, "called from [m:0]:outer():\n"},
        {-8, "f", "a%sb", "m", 2, "called from [m:2]:\nf(a%sb)"},
    };
    for (const auto& is : cases)
        for (const int32_t mode : {DAX_ErrModeLeaf, DAX_ErrModeParent, DAX_ErrModeSilent, 3}) {
            const bool leaf = mode == DAX_ErrModeLeaf;
            const std::string alloc = "alloc " + std::to_string(strlen(is.context) + 200);
            const std::string box =
                (leaf ? "box 4100 " : "box 4097 ") + caption + is.body +
                (leaf ? "\n\nErrMode=DAX_ErrorModeLeaf\n\nTerminate the application?"
                      : "\n\nErrMode=DAX_ErrorModeParent\n\nContinue?");
            for (const int32_t answer : {ownAnswerOk, ownAnswerCancel, ownAnswerYes, ownAnswerNo})
                for (const uint32_t version : {0x7FFFFFFFu, 0x80000000u}) {
                    StandIn platform;
                    platform.answer = answer;
                    platform.version = version;
                    daxSetErrStatus(-4);
                    daxSetErrMode(mode);
                    DaxStatus result = 99;
                    const bool ended = platform.ends([&] {
                        result =
                            daxGuiBoxReport(is.status, is.funcName, is.context, is.file, is.line);
                    });
                    EXPECT_EQ(ended, leaf                        ? answer == ownAnswerYes
                                     : mode == DAX_ErrModeParent ? answer == ownAnswerCancel
                                                                 : false);
                    EXPECT_EQ(result, ended ? 99 : is.status);
                    std::vector<std::string> events = {alloc, "free"};
                    if (mode == DAX_ErrModeParent || leaf) events.insert(events.begin() + 1, box);
                    if (ended && version == 0x80000000u) {
                        events.insert(events.begin() + 2, "box 4096 Win32S: Application exit|DAX "
                                                          "Library:\nterminating the application");
                        events.emplace_back("exit 1");
                    } else if (ended) {
                        events.emplace_back("fatal DAX Library:\nterminating the application");
                    }
                    EXPECT_EQ(platform.events, events);
                }
        }
}

TEST_F(Error, BoxReportSurvivesLongTextsAndMissingMemory) {
    daxSetErrMode(DAX_ErrModeParent);
    StandIn platform;
    platform.failRequest = 1;
    EXPECT_EQ(daxGuiBoxReport(-5, "f", "context", "m", 1), -5);
    ASSERT_EQ(platform.events.size(), 2u);
    EXPECT_THAT(platform.events[1], testing::HasSubstr("in function [m:1]:f():\ncontext"));
    const std::string name(5000, 'n');
    EXPECT_EQ(daxGuiBoxReport(-5, name.c_str(), "context", name.c_str(), 1), -5);
    EXPECT_EQ(platform.live(), 0u);
}

TEST(Version, Record) {
    const DaxLibVersion* is = daxGetLibVersion();
    EXPECT_EQ(is->major * 100 + is->minor * 10 + is->build, 133);
    EXPECT_STREQ(is->moduleName, "daxlib.dll");
    EXPECT_STREQ(is->versionText, "v1.0 Beta 3");
    EXPECT_STREQ(is->versionStamp, "[1.03.03, 06/30/97]");
    EXPECT_STREQ(is->buildDate, "Jul  7 1997");
    EXPECT_STREQ(is->moduleKind, "DLL");
}

// The load routine against per-thread storage of its own, with this process detached meanwhile.

class Load : public testing::Test {
protected:
    Load() {
        ownLoad(OwnLoadReason::processDetach);
        platform = std::make_unique<StandIn>();
        platform->ownSlots();
        ownPlatform.attachesAtFirstUse = false;
    }
    ~Load() override {
        platform.reset();
        ownLoad(OwnLoadReason::processAttach);
    }
    std::vector<std::string> steps(OwnLoadReason reason, bool result = true) {
        platform->events.clear();
        EXPECT_EQ(ownLoad(reason), result);
        return platform->events;
    }
    std::unique_ptr<StandIn> platform;
    const std::string block = "local alloc " + std::to_string(sizeof(OwnThread));
};

TEST_F(Load, AttachAndDetachInStep) {
    EXPECT_THAT(steps(OwnLoadReason::processAttach), ElementsAre("slot alloc", block, "slot set"));
    EXPECT_EQ(daxUndContext()->reporter, daxGuiBoxReport);
    daxSetErrStatus(-5);
    EXPECT_THAT(steps(OwnLoadReason::threadDetach), ElementsAre("local free"));
    EXPECT_THAT(steps(OwnLoadReason::threadAttach), ElementsAre(block, "slot set"));
    EXPECT_EQ(daxGetErrStatus(), 0);
    EXPECT_THAT(steps(static_cast<OwnLoadReason>(4)), ElementsAre());
    EXPECT_THAT(steps(OwnLoadReason::threadDetach), ElementsAre("local free"));
    EXPECT_THAT(steps(OwnLoadReason::processAttach), ElementsAre(block, "slot set"));
    EXPECT_THAT(steps(OwnLoadReason::processDetach), ElementsAre("local free"));
    ownPlatform.tlsSetValue(5, nullptr);
    EXPECT_THAT(steps(OwnLoadReason::processDetach), ElementsAre("slot free"));
}

TEST_F(Load, RefusedSlotAndRefusedBlock) {
    platform->refuseSlot = true;
    EXPECT_THAT(steps(OwnLoadReason::processAttach, false), ElementsAre("slot alloc"));
    platform->refuseSlot = false;
    platform->refuseLocal = true;
    EXPECT_THAT(steps(OwnLoadReason::processAttach, false), ElementsAre("slot alloc", block));
    EXPECT_THAT(steps(OwnLoadReason::threadAttach, false), ElementsAre(block));
    // The process stays attached all the same.
    EXPECT_THAT(steps(OwnLoadReason::processDetach), ElementsAre("slot free"));
}

TEST_F(Load, MissingContextEndsTheProcess) {
    steps(OwnLoadReason::processAttach);
    steps(OwnLoadReason::threadDetach);
    ownPlatform.tlsSetValue(5, nullptr);
    const std::string text = "DAX Library error:\nBad DAX Context\nTerminating the application";
    platform->events.clear();
    EXPECT_TRUE(platform->ends([] { daxErrorStr(-100); }));
    EXPECT_THAT(platform->events, ElementsAre("box 0 NULL|pDaxContext", "fatal " + text));
    platform->events.clear();
    platform->version = 0x80000000u;
    EXPECT_TRUE(platform->ends([] { daxGetErrMode(); }));
    EXPECT_THAT(platform->events,
                ElementsAre("box 0 NULL|pDaxContext",
                            "box 0 Win32S: Fatal Application Exit|" + text, "exit 1"));
    EXPECT_EQ(daxGetLibVersion()->major, 1);
    EXPECT_STREQ(daxErrorStr(-5), "Bad argument");
    steps(OwnLoadReason::processDetach);
}

TEST_F(Error, ThreadsAreSeparateAndFreedAtTheirEnd) {
    StandIn platform;
    daxSetErrStatus(-3);
    DaxContext* const mine = daxUndContext();
    daxErrorStr(3);
    const auto use = [&] {
        const DaxContext* fresh = daxUndContext();
        EXPECT_NE(fresh, mine);
        EXPECT_EQ(fresh->status, 0);
        EXPECT_EQ(fresh->errMode, DAX_ErrModeLeaf);
        EXPECT_EQ(fresh->reporter, daxGuiBoxReport);
        for (const uint8_t byte : fresh->reserved) EXPECT_EQ(byte, 0);
        for (const char letter : fresh->unknownCodeText) EXPECT_EQ(letter, 0);
        daxSetErrMode(DAX_ErrModeSilent);
        daxError(-5, "f", "", "m", 1);
        EXPECT_EQ(daxGetErrStatus(), -5);
        daxErrorStr(4);
    };
    const std::string block = "local alloc " + std::to_string(sizeof(OwnThread));
    std::thread(use).join();
    EXPECT_THAT(platform.events, ElementsAre(block, "alloc 200", "free", "local free"));
    EXPECT_EQ(daxUndContext(), mine);
    EXPECT_EQ(daxGetErrStatus(), -3);
    EXPECT_STREQ(mine->unknownCodeText, "Unknown status code 3");
    // A thread that never calls costs nothing.
    platform.events.clear();
    std::thread([] {}).join();
    EXPECT_TRUE(platform.events.empty());
    EXPECT_EQ(offsetof(DaxContext, unknownCodeText) - offsetof(DaxContext, reserved), 1560u);
}

// The native platform: what really ends the process, and what doesn't because nobody can be asked.

using NativeDeathTest = Error;

TEST_F(NativeDeathTest, ProcessEndsAndGoesOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    daxSetErrMode(DAX_ErrModeLeaf);
    EXPECT_EXIT(daxNulDevReport(-5, "f", "c", "m", 1), testing::ExitedWithCode(1), "^$");
    EXPECT_EXIT(daxStdErrReport(-5, "f", "c", "m", 1), testing::ExitedWithCode(1),
                "Bad argument \n\tin function \\[m:1\\]:f\\(\\): c\nDAX Library "
                "Error\nErrMode=DAX_ErrModeLeaf\n"
                "terminating the application$");
    EXPECT_EXIT(
        {
            daxGuiBoxReport(-5, "f", "c", "m", 1);
            _Exit(3);
        },
        testing::ExitedWithCode(3),
        "DAX Library Error: No Error\nin function \\[m:1\\]:f\\(\\):\nc\n\nErrMode");
    EXPECT_EXIT(
        {
            ownPlatform.localAlloc = [](size_t) -> void* { return nullptr; };
            std::thread([] { daxGetErrStatus(); }).join();
        },
        testing::ExitedWithCode(1),
        "NULL\npDaxContext\nDAX Library error:\nBad DAX Context\nTerminating the application");
}

// Streams are flushed when all else of a process has come to its end.
TEST_F(NativeDeathTest, CallsWorkUntilTheProcessIsGone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto writeLate = [](void*, const char*, size_t size) {
        fprintf(stderr, "status %d", daxGetErrStatus());
        return static_cast<ssize_t>(size);
    };
    EXPECT_EXIT(
        {
            daxSetErrStatus(-6);
            fputc('x', fopencookie(nullptr, "w", {nullptr, writeLate, nullptr, nullptr}));
            exit(0);
        },
        testing::ExitedWithCode(0), "^status -6$");
}

} // namespace
