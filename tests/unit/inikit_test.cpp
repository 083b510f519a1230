// The configuration reader: what it makes of real files, both forms of
// access, and that it leaves libinih's process-wide options alone.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <ini.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/fs.h"
#include "platform/inikit.h"
#include "support/temp_root.h"

namespace {

using viewgeo::testing::TempRoot;

constexpr const char *kPath = "/etc/viewgeo/test.conf";

struct Entry {
    std::string group, key, value;
    bool operator==(const Entry &) const = default;
};

void PrintTo(const Entry &e, std::ostream *os) { *os << "[" << e.group << "] <" << e.key << "> = <" << e.value << ">"; }

Entry copy_entry(const inikit_entry *e) {
    EXPECT_NE(e->group, nullptr);
    EXPECT_NE(e->key, nullptr);
    EXPECT_NE(e->value, nullptr);
    return {e->group ? e->group : "(null)", e->key ? e->key : "(null)", e->value ? e->value : "(null)"};
}

// A string of the bytes of a literal, NULs included.
template <std::size_t N>
std::string bytes(const char (&text)[N]) {
    return std::string(text, N - 1);
}

// Every entry of the file through the handle form; `loaded` gets the result
// of the load.
std::vector<Entry> read_all(const char *path, int *loaded = nullptr) {
    inikit *kit = inikit_new();
    EXPECT_NE(kit, nullptr);
    const int ok = inikit_load_cfg(kit, path);
    if (loaded != nullptr) *loaded = ok;
    std::vector<Entry> out;
    while (const inikit_entry *e = inikit_get_next_cfg(kit)) out.push_back(copy_entry(e));
    inikit_free(kit);
    return out;
}

// Writes `content` as the test file and reads it back; the load must succeed.
std::vector<Entry> parse(const TempRoot &root, const std::string &content) {
    root.write(kPath, content);
    int loaded = 0;
    std::vector<Entry> out = read_all(kPath, &loaded);
    EXPECT_NE(loaded, 0);
    return out;
}

// What plain libinih makes of a text, to show what this layer guards against.
std::vector<Entry> raw_libinih(const std::string &text) {
    std::vector<Entry> out;
    ini_parse_string(
        text.c_str(),
        [](void *user, const char *section, const char *name, const char *value) {
            static_cast<std::vector<Entry> *>(user)->push_back({section, name, value ? value : "(null)"});
            return 1;
        },
        &out);
    return out;
}

// ---- Texts and the entries they give: syntax, comments, malformed lines ------

// One text of the file and every entry the reader must make of it, in order.
struct ParseCase {
    const char *name;
    std::string text;
    std::vector<Entry> expected;
};

void PrintTo(const ParseCase &c, std::ostream *os) { *os << c.name; }

const ParseCase kParseCases[] = {
    {
        "ReadsWhatTheRemoteStoreWritesBack",
        "[channel_3]\ncenter_pan = 12.500000\ncenter_tilt = -3.250000\n"
        "calibration_status = 1\nauto_calibrated = 0\n[lens_fov]\nvfov = 45.5\n",
        {
            {"channel_3", "center_pan", "12.500000"},
            {"channel_3", "center_tilt", "-3.250000"},
            {"channel_3", "calibration_status", "1"},
            {"channel_3", "auto_calibrated", "0"},
            {"lens_fov", "vfov", "45.5"},
        },
    },
    {
        "KeepsSemicolonsInsideMisalignmentValues",
        "PTZCAL_MECH_OFFSET=5,-5\nPTZCAL_OPT_OFFSET=1,0,0;100,0,0\nPAN_ROTATION_STEPS=36000\n",
        {
            {"", "PTZCAL_MECH_OFFSET", "5,-5"},
            {"", "PTZCAL_OPT_OFFSET", "1,0,0;100,0,0"},
            {"", "PAN_ROTATION_STEPS", "36000"},
        },
    },
    {
        "EntriesBeforeAnyHeaderHaveTheEmptyGroup",
        "a = 1\n[g]\nb = 2\n",
        {{"", "a", "1"}, {"g", "b", "2"}},
    },
    {
        // Rows of data: the cases of the table, alike in shape on purpose.
        "StripsBlanksAroundKeyValueAndGroupName",
        "[ group ]\n  key   =   some value   \n\ttabbed\t=\tx\t\n[]\nempty=y\n[\ta b\t]\nk=v\n",
        {
            {"group", "key", "some value"},
            {"group", "tabbed", "x"},
            {"", "empty", "y"},
            {"a b", "k", "v"},
        },
    },
    {
        "EmptyValueIsAnEmptyStringNotNull",
        "[g]\nkey=\nspaced =   \nnext=1\n",
        {{"g", "key", ""}, {"g", "spaced", ""}, {"g", "next", "1"}},
    },
    {
        "ColonSeparatesLikeEqualsWhicheverComesFirst",
        "key : value\nurl = http://host:80/x\na:b=c\ntime=12:30\n",
        {
            {"", "key", "value"},
            {"", "url", "http://host:80/x"},
            {"", "a", "b=c"},
            {"", "time", "12:30"},
        },
    },
    {
        "ReturnsDuplicateGroupsAndKeysAllInFileOrder",
        "[g]\nk=1\nk=2\n[h]\nk=3\n[g]\nk=4\nj=5\n",
        {{"g", "k", "1"}, {"g", "k", "2"}, {"h", "k", "3"}, {"g", "k", "4"}, {"g", "j", "5"}},
    },
    {
        "SkipsCommentLinesStartingWithSemicolonOrHash",
        "; c1 = x\n# c2 = y\n[g]\n;k=v\n#k=v\n   ; indented = comment\n\t# too = z\na=1\nb=2\n",
        {{"g", "a", "1"}, {"g", "b", "2"}},
    },
    {
        "CutsTheLineAtASemicolonAfterWhiteSpace",
        "[g]\na = 1 ; note\nb = 2\t;note\nc = 1;2\nd = ;note\ne = x #y\nf=p#q\n[h] ; header note\nk=v\n",
        {
            {"g", "a", "1"},          // "a = 1 ; note"
            {"g", "b", "2"},          // tab before ";"
            {"g", "c", "1;2"},        // no white space before ";": part of the value
            {"g", "d", ""},           // "d = ;note"
            {"g", "e", "x #y"},       // "#" inside a line is text
            {"g", "f", "p#q"},
            {"h", "k", "v"},          // header with a comment
        },
    },
    {
        "SemicolonAfterBlankInsideAKeyLeavesNoKeyLine",
        // "k ;= v" is cut to "k": no separator left, so the line is skipped.
        "k ;= v\nnext=1\n",
        {{"", "next", "1"}},
    },
    {
        "SkipsLinesWithoutSeparatorOrKeyAndReadsOn",
        "[g]\na=1\nno separator here\n=nokey\n  : nokey either\nb=2\n]\nc=3\n",
        {{"g", "a", "1"}, {"g", "b", "2"}, {"g", "c", "3"}},
    },
    {
        "HeaderWithTextAfterTheBracketIsMalformed",
        "a=1\n[g] x\nb=2\n[g]]\nb=2\n[ok]\nc=3\n",
        {{"", "a", "1"}, {"ok", "c", "3"}},
    },
    {
        "CrlfLineEndsLeaveNoCarriageReturn",
        "[g]\r\nk = v\r\ne =\r\n; c\r\n[h] \r\nj=w\r\n",
        {{"g", "k", "v"}, {"g", "e", ""}, {"h", "j", "w"}},
    },
    {
        "SkipsAByteOrderMarkAtTheStart",
        "\xEF\xBB\xBF[g]\nk=v\n",
        {{"g", "k", "v"}},
    },
};

class InikitText : public ::testing::TestWithParam<ParseCase> {};

TEST_P(InikitText, GivesExactlyTheExpectedEntriesInFileOrder) {
    TempRoot root;
    EXPECT_EQ(parse(root, GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Inikit, InikitText, ::testing::ValuesIn(kParseCases),
                         [](const ::testing::TestParamInfo<ParseCase> &info) { return std::string(info.param.name); });

// ---- Malformed lines ---------------------------------------------------------

TEST(Inikit, EntriesAfterAnUnclosedHeaderAreDroppedUntilTheNextGoodOne) {
    TempRoot root;
    // With plain libinih the "[channel_2" entries would land in channel_1.
    const std::string text = "[channel_1]\ncenter_pan = 1\n[channel_2\ncenter_pan = 5\n[channel_3]\ncenter_pan = 7\n";
    const std::vector<Entry> expected = {{"channel_1", "center_pan", "1"}, {"channel_3", "center_pan", "7"}};
    EXPECT_EQ(parse(root, text), expected);
    EXPECT_EQ(raw_libinih(text)[1], (Entry{"channel_1", "center_pan", "5"}));
}

// ---- Indentation -------------------------------------------------------------

TEST(Inikit, IndentedLineIsAnOrdinaryLineNotAContinuation) {
    TempRoot root;
    const std::string text = "[g]\nk = a\n    j = b\n\tm = c\n  [h]\n   n = d\n";
    const std::vector<Entry> expected = {{"g", "k", "a"}, {"g", "j", "b"}, {"g", "m", "c"}, {"h", "n", "d"}};
    EXPECT_EQ(parse(root, text), expected);
    // Plain libinih continues "k" with the indented line instead.
    EXPECT_EQ(raw_libinih(text)[1], (Entry{"g", "k", "j = b"}));
}

// ---- Over-long lines ---------------------------------------------------------

TEST(Inikit, LongCommentCannotInjectAKey) {
    TempRoot root;
    // The injected text starts at byte 199, where libinih cuts the line.
    const std::string comment = ";" + std::string(198, 'x') + "PTZCAL_MECH_OFFSET=1,2";
    const std::string text = "[g]\n" + comment + "\nk=v\n";
    const std::vector<Entry> expected = {{"g", "k", "v"}};
    EXPECT_EQ(parse(root, text), expected);
    const std::vector<Entry> injected = {{"g", "PTZCAL_MECH_OFFSET", "1,2"}, {"g", "k", "v"}};
    EXPECT_EQ(raw_libinih(text), injected);
}

TEST(Inikit, LongCommentWithKeyFarPastTheCutIsDroppedWhole) {
    TempRoot root;
    for (std::size_t filler : {190u, 197u, 198u, 199u, 200u, 250u, 396u, 397u, 1000u}) {
        const std::string text = "#" + std::string(filler, ' ') + "PTZCAL_MECH_OFFSET = 1,2\n";
        EXPECT_TRUE(parse(root, text).empty()) << filler;
    }
}

TEST(Inikit, LongKeyLineIsDroppedNotSplitNorTruncated) {
    TempRoot root;
    const std::string text =
        "[g]\nnote = " + std::string(199 - 7, 'x') + "key = value\nlong = " + std::string(300, 'v') + "\nafter = 1\n";
    const std::vector<Entry> expected = {{"g", "after", "1"}};
    EXPECT_EQ(parse(root, text), expected);
}

TEST(Inikit, LineLengthLimitCountsBytesWithoutTheLineEnd) {
    TempRoot root;
    const std::string at_limit = "k=" + std::string(kInikitMaxLineLength - 2, 'a');
    const std::string over_limit = "j=" + std::string(kInikitMaxLineLength - 1, 'b');
    const std::string indented = std::string(10, ' ') + "i=" + std::string(kInikitMaxLineLength - 12, 'c');
    const std::string indented_over = std::string(10, ' ') + "h=" + std::string(kInikitMaxLineLength - 11, 'd');
    ASSERT_EQ(at_limit.size(), kInikitMaxLineLength);
    ASSERT_EQ(indented.size(), kInikitMaxLineLength);
    const std::vector<Entry> expected = {
        {"", "k", std::string(kInikitMaxLineLength - 2, 'a')},
        {"", "i", std::string(kInikitMaxLineLength - 12, 'c')},
        {"", "k", std::string(kInikitMaxLineLength - 2, 'a')},
    };
    EXPECT_EQ(parse(root, at_limit + "\n" + over_limit + "\n" + indented + "\n" + indented_over + "\n" + at_limit + "\r\n" +
                              over_limit + "\r\n"),
              expected);
}

TEST(Inikit, OverLongHeaderDropsTheEntriesOfItsGroup) {
    TempRoot root;
    const std::string text = "[a]\nx=1\n[" + std::string(250, 'g') + "]\ny=2\n[b]\nz=3\n";
    const std::vector<Entry> expected = {{"a", "x", "1"}, {"b", "z", "3"}};
    EXPECT_EQ(parse(root, text), expected);
}

// ---- File shapes -------------------------------------------------------------

TEST(Inikit, AcceptsAMissingFinalNewline) {
    TempRoot root;
    const std::vector<Entry> expected = {{"g", "k", "v"}};
    EXPECT_EQ(parse(root, "[g]\nk = v"), expected);
    EXPECT_EQ(parse(root, "[g]\r\nk = v\r"), expected);
}

TEST(Inikit, EmptyFileLoadsWithNoEntries) {
    TempRoot root;
    EXPECT_TRUE(parse(root, "").empty());
    EXPECT_TRUE(parse(root, "\n\n  \n; only comments\n").empty());
}

TEST(Inikit, DropsLinesHoldingNulBytesAndReadsOn) {
    TempRoot root;
    const std::vector<Entry> expected = {{"g", "a", "1"}, {"g", "c", "3"}};
    EXPECT_EQ(parse(root, bytes("[g]\na = 1\nb = 2\0junk\nc = 3\n")), expected);
    // "d" stands before the NUL: plain C-string parsing would have taken it.
    EXPECT_EQ(parse(root, bytes("[g]\na = 1\nd = 4\0\nc = 3\n")), expected);
}

TEST(Inikit, NulInAHeaderDropsItsGroup) {
    TempRoot root;
    const std::vector<Entry> expected = {{"a", "x", "1"}, {"b", "z", "3"}};
    EXPECT_EQ(parse(root, bytes("[a]\nx=1\n[c\0]\ny=2\n[b]\nz=3\n")), expected);
}

TEST(Inikit, BinaryGarbageLoadsAndYieldsOnlyWellFormedEntries) {
    TempRoot root;
    std::string garbage;
    for (int i = 0; i < 4096; ++i) garbage.push_back(static_cast<char>((i * 151 + i / 256) & 0xFF));
    const std::vector<Entry> entries = parse(root, garbage + "\n[tail]\nk=v\n");
    ASSERT_FALSE(entries.empty());
    EXPECT_EQ(entries.back(), (Entry{"tail", "k", "v"}));
    for (const Entry &e : entries) {
        EXPECT_FALSE(e.key.empty());
        EXPECT_EQ(e.key.find_first_of("=:\n"), std::string::npos) << e.key;
        EXPECT_EQ(e.value.find('\n'), std::string::npos);
    }
}

// ---- Files that cannot be read -----------------------------------------------

TEST(Inikit, MissingFileFailsToLoad) {
    TempRoot root;
    int loaded = 1;
    EXPECT_TRUE(read_all("/etc/viewgeo/absent.conf", &loaded).empty());
    EXPECT_EQ(loaded, 0);
}

TEST(Inikit, DirectoryFailsToLoad) {
    TempRoot root;
    int loaded = 1;
    EXPECT_TRUE(read_all("/etc/viewgeo", &loaded).empty());
    EXPECT_EQ(loaded, 0);
}

TEST(Inikit, CharacterDeviceFailsToLoad) {
    TempRoot root;
    std::filesystem::create_symlink("/dev/null", root.real(kPath));
    int loaded = 1;
    EXPECT_TRUE(read_all(kPath, &loaded).empty());
    EXPECT_EQ(loaded, 0);
}

TEST(Inikit, UnreadableFileFailsToLoad) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not stop root from reading";
    TempRoot root;
    root.write(kPath, "k=v\n");
    ASSERT_EQ(::chmod(root.real(kPath).c_str(), 0), 0);
    int loaded = 1;
    EXPECT_TRUE(read_all(kPath, &loaded).empty());
    EXPECT_EQ(loaded, 0);
}

TEST(Inikit, FailedOpenOfTheFileFailsTheLoad) {
    TempRoot root;
    root.write(kPath, "k=v\n");
    viewgeo::platform::fs::inject_failure(viewgeo::platform::fs::Op::ReadFile, EIO);
    int loaded = 1;
    EXPECT_TRUE(read_all(kPath, &loaded).empty());
    EXPECT_EQ(loaded, 0);
    EXPECT_EQ(read_all(kPath, &loaded).size(), 1u);  // the failure was for one call
    EXPECT_EQ(loaded, 1);
}

TEST(Inikit, FileAtTheSizeLimitLoads) {
    TempRoot root;
    const std::string tail = "k=v\n";
    std::string text;
    while (text.size() + 64 + tail.size() <= kInikitMaxFileSize) text += std::string(63, '#') + "\n";
    text.resize(kInikitMaxFileSize - tail.size(), '\n');
    text += tail;
    ASSERT_EQ(text.size(), kInikitMaxFileSize);
    const std::vector<Entry> expected = {{"", "k", "v"}};
    EXPECT_EQ(parse(root, text), expected);
}

TEST(Inikit, FileOverTheSizeLimitFailsToLoad) {
    TempRoot root;
    std::string text = "k=v\n";
    text.resize(kInikitMaxFileSize + 1, '\n');
    root.write(kPath, text);
    int loaded = 1;
    EXPECT_TRUE(read_all(kPath, &loaded).empty());
    EXPECT_EQ(loaded, 0);
}

TEST(Inikit, PathIsResolvedBelowTheTestRoot) {
    TempRoot root;
    root.write("/etc/viewgeo/remoteptz.conf", "[channel_1]\ncenter_pan = 2\n");
    const std::vector<Entry> expected = {{"channel_1", "center_pan", "2"}};
    EXPECT_EQ(read_all("/etc/viewgeo/remoteptz.conf"), expected);
}

// ---- libinih's options -------------------------------------------------------

struct IniOptions {
    bool multiline, bom, inline_comments, use_stack, realloc, stop_on_first_error, no_value;
    const char *start_prefixes, *inline_prefixes;
    std::string start_text, inline_text;
    int max_line, initial_alloc;

    static IniOptions now() {
        return {ini_allow_multiline,
                ini_allow_bom,
                ini_allow_inline_comments,
                ini_use_stack,
                ini_allow_realloc,
                ini_stop_on_first_error,
                ini_allow_no_value,
                ini_start_comment_prefixes,
                ini_inline_comment_prefixes,
                ini_start_comment_prefixes,
                ini_inline_comment_prefixes,
                ini_max_line,
                ini_initial_alloc};
    }
    bool operator==(const IniOptions &) const = default;
};

TEST(Inikit, LeavesLibinihProcessWideOptionsUnchanged) {
    TempRoot root;
    const IniOptions before = IniOptions::now();
    parse(root, "\xEF\xBB\xBF; c\n[g]\n  k = v ; c\nbad\n[open\nx=1\n" + std::string(300, 'y') + "\n[h]\nj:w\n");
    ASSERT_TRUE(inikit_opencfg(kPath));
    while (inikit_getcfg() != nullptr) {
    }
    inikit_closecfg();
    EXPECT_TRUE(IniOptions::now() == before);
    // Debian's defaults, which the layer never needs to touch.
    EXPECT_EQ(std::string(ini_start_comment_prefixes), ";#");
    EXPECT_EQ(std::string(ini_inline_comment_prefixes), ";");
}

// ---- Cursor form -------------------------------------------------------------

TEST(InikitCursor, WalksTheEntriesInFileOrderThenReturnsNull) {
    TempRoot root;
    root.write(kPath, "[a]\nx = 1\n[b]\ny = 2\n");
    ASSERT_NE(inikit_opencfg(kPath), 0);
    const inikit_entry *first = inikit_getcfg();
    const inikit_entry *second = inikit_getcfg();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(copy_entry(first), (Entry{"a", "x", "1"}));
    EXPECT_EQ(copy_entry(second), (Entry{"b", "y", "2"}));
    EXPECT_EQ(inikit_getcfg(), nullptr);
    EXPECT_EQ(inikit_getcfg(), nullptr);
    // Earlier entries stay valid until the file is closed.
    EXPECT_STREQ(first->group, "a");
    EXPECT_STREQ(first->value, "1");
    inikit_closecfg();
}

TEST(InikitCursor, NothingOpenGivesNull) {
    inikit_closecfg();
    EXPECT_EQ(inikit_getcfg(), nullptr);
    inikit_closecfg();  // closing twice is harmless
    EXPECT_EQ(inikit_getcfg(), nullptr);
}

TEST(InikitCursor, ReopeningClosesThePreviousFile) {
    TempRoot root;
    root.write("/etc/viewgeo/one.conf", "a=1\nb=2\n");
    root.write("/etc/viewgeo/two.conf", "c=3\n");
    ASSERT_NE(inikit_opencfg("/etc/viewgeo/one.conf"), 0);
    ASSERT_NE(inikit_getcfg(), nullptr);
    ASSERT_NE(inikit_opencfg("/etc/viewgeo/two.conf"), 0);
    const inikit_entry *e = inikit_getcfg();
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(copy_entry(e), (Entry{"", "c", "3"}));
    EXPECT_EQ(inikit_getcfg(), nullptr);
    // Reopening the same file starts again at its first entry.
    ASSERT_NE(inikit_opencfg("/etc/viewgeo/one.conf"), 0);
    e = inikit_getcfg();
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(copy_entry(e), (Entry{"", "a", "1"}));
    inikit_closecfg();
}

TEST(InikitCursor, FailedOpenLeavesNothingOpen) {
    TempRoot root;
    root.write(kPath, "a=1\nb=2\n");
    ASSERT_NE(inikit_opencfg(kPath), 0);
    EXPECT_EQ(inikit_opencfg("/etc/viewgeo/absent.conf"), 0);
    EXPECT_EQ(inikit_getcfg(), nullptr);
    inikit_closecfg();
}

TEST(InikitCursor, EmptyFileOpensAndHasNoEntries) {
    TempRoot root;
    root.write(kPath, "");
    EXPECT_NE(inikit_opencfg(kPath), 0);
    EXPECT_EQ(inikit_getcfg(), nullptr);
    inikit_closecfg();
}

TEST(InikitCursor, FailedReadOfTheFileLeavesNothingOpen) {
    TempRoot root;
    root.write(kPath, "a=1\nb=2\n");
    ASSERT_NE(inikit_opencfg(kPath), 0);
    viewgeo::platform::fs::inject_failure(viewgeo::platform::fs::Op::ReadFile, EIO);
    EXPECT_EQ(inikit_opencfg(kPath), 0);
    EXPECT_EQ(inikit_getcfg(), nullptr);
    inikit_closecfg();
}

// A large file, then a small one, then the large one again: what one open
// leaves behind never shows in the next.
TEST(InikitCursor, SmallFileAfterALargeOneShowsOnlyItsOwnEntries) {
    TempRoot root;
    std::string large;
    std::vector<Entry> large_entries;
    for (int i = 0; i < 3000; ++i) {
        const std::string group = "group_" + std::to_string(i % 7);
        const std::string key = "key_" + std::to_string(i);
        const std::string value = std::string(static_cast<std::size_t>(i % 40), 'v') + std::to_string(i);
        large += "[" + group + "]\n" + key + " = " + value + "\n";
        large_entries.push_back({group, key, value});
    }
    root.write("/etc/viewgeo/large.conf", large);
    root.write("/etc/viewgeo/small.conf", "[s]\nk = v\n");
    auto read_cursor = [](const char *path) {
        std::vector<Entry> out;
        EXPECT_NE(inikit_opencfg(path), 0);
        while (const inikit_entry *e = inikit_getcfg()) out.push_back(copy_entry(e));
        inikit_closecfg();
        return out;
    };
    EXPECT_EQ(read_cursor("/etc/viewgeo/large.conf"), large_entries);
    EXPECT_EQ(read_cursor("/etc/viewgeo/small.conf"), (std::vector<Entry>{{"s", "k", "v"}}));
    EXPECT_EQ(read_cursor("/etc/viewgeo/large.conf"), large_entries);
    EXPECT_EQ(read_cursor("/etc/viewgeo/small.conf"), (std::vector<Entry>{{"s", "k", "v"}}));
}

// ---- Handle form -------------------------------------------------------------

TEST(InikitHandle, LoadingAgainReplacesTheEntriesAndRestarts) {
    TempRoot root;
    root.write("/etc/viewgeo/one.conf", "a=1\nb=2\n");
    root.write("/etc/viewgeo/two.conf", "[t]\nc=3\n");
    inikit *kit = inikit_new();
    ASSERT_NE(kit, nullptr);
    ASSERT_NE(inikit_load_cfg(kit, "/etc/viewgeo/one.conf"), 0);
    ASSERT_NE(inikit_get_next_cfg(kit), nullptr);
    ASSERT_NE(inikit_load_cfg(kit, "/etc/viewgeo/two.conf"), 0);
    const inikit_entry *e = inikit_get_next_cfg(kit);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(copy_entry(e), (Entry{"t", "c", "3"}));
    EXPECT_EQ(inikit_get_next_cfg(kit), nullptr);
    ASSERT_NE(inikit_load_cfg(kit, "/etc/viewgeo/one.conf"), 0);
    e = inikit_get_next_cfg(kit);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(copy_entry(e), (Entry{"", "a", "1"}));
    inikit_free(kit);
}

TEST(InikitHandle, FailedLoadLeavesNoEntries) {
    TempRoot root;
    root.write(kPath, "a=1\n");
    inikit *kit = inikit_new();
    ASSERT_NE(kit, nullptr);
    ASSERT_NE(inikit_load_cfg(kit, kPath), 0);
    EXPECT_EQ(inikit_load_cfg(kit, "/etc/viewgeo/absent.conf"), 0);
    EXPECT_EQ(inikit_get_next_cfg(kit), nullptr);
    EXPECT_EQ(inikit_load_cfg(kit, nullptr), 0);
    EXPECT_EQ(inikit_get_next_cfg(kit), nullptr);
    inikit_free(kit);
}

TEST(InikitHandle, HandlesAreIndependentOfEachOtherAndOfTheCursor) {
    TempRoot root;
    root.write("/etc/viewgeo/one.conf", "a=1\nb=2\n");
    root.write("/etc/viewgeo/two.conf", "c=3\n");
    inikit *one = inikit_new();
    inikit *two = inikit_new();
    ASSERT_NE(inikit_load_cfg(one, "/etc/viewgeo/one.conf"), 0);
    ASSERT_NE(inikit_opencfg("/etc/viewgeo/two.conf"), 0);
    ASSERT_NE(inikit_load_cfg(two, "/etc/viewgeo/two.conf"), 0);
    EXPECT_STREQ(inikit_get_next_cfg(one)->key, "a");
    EXPECT_STREQ(inikit_getcfg()->key, "c");
    EXPECT_STREQ(inikit_get_next_cfg(two)->key, "c");
    EXPECT_STREQ(inikit_get_next_cfg(one)->key, "b");
    inikit_closecfg();
    EXPECT_EQ(inikit_get_next_cfg(two), nullptr);
    EXPECT_EQ(inikit_get_next_cfg(one), nullptr);
    inikit_free(one);
    inikit_free(two);
}

// Every entry handed out stays valid while the next ones are read, however
// many there are.
TEST(InikitHandle, AllEntriesOfALargeFileStayValidTogether) {
    TempRoot root;
    std::string text = "before = header\n";
    for (int i = 0; i < 2000; ++i) {
        if (i % 100 == 0) text += "[part_" + std::to_string(i / 100) + "]\n";
        text += "k" + std::to_string(i) + " = value number " + std::to_string(i) + "\n";
    }
    root.write(kPath, text);
    inikit *kit = inikit_new();
    ASSERT_NE(inikit_load_cfg(kit, kPath), 0);
    std::vector<const inikit_entry *> all;
    while (const inikit_entry *e = inikit_get_next_cfg(kit)) all.push_back(e);
    ASSERT_EQ(all.size(), 2001u);
    EXPECT_EQ(copy_entry(all[0]), (Entry{"", "before", "header"}));
    for (int i = 0; i < 2000; ++i) {
        const Entry expected{"part_" + std::to_string(i / 100), "k" + std::to_string(i), "value number " + std::to_string(i)};
        EXPECT_EQ(copy_entry(all[static_cast<std::size_t>(i) + 1]), expected);
    }
    inikit_free(kit);
}

TEST(InikitHandle, NullHandleIsRefusedQuietly) {
    TempRoot root;
    root.write(kPath, "a=1\n");
    EXPECT_EQ(inikit_load_cfg(nullptr, kPath), 0);
    EXPECT_EQ(inikit_get_next_cfg(nullptr), nullptr);
    inikit_free(nullptr);
}

// ---- Properties --------------------------------------------------------------

// Entries written in the canonical form ("[g]", "k = v") read back unchanged.
TEST(InikitProperty, CanonicalTextRoundTrips) {
    TempRoot root;
    std::mt19937 rng(12345);
    const std::string name_chars = "abcXYZ019_.-";
    const std::string value_chars = "abc019_.-,;#[]=: ";
    auto word = [&](const std::string &chars, std::size_t max_len, bool allow_empty) {
        std::size_t len = rng() % (max_len + 1);
        if (!allow_empty && len == 0) len = 1;
        std::string s;
        for (std::size_t i = 0; i < len; ++i) s.push_back(chars[rng() % chars.size()]);
        return s;
    };
    for (int round = 0; round < 50; ++round) {
        std::vector<Entry> expected;
        std::string text;
        std::string group;
        const int lines = static_cast<int>(rng() % 20);
        for (int i = 0; i < lines; ++i) {
            if (rng() % 4 == 0) {
                group = word(name_chars, 12, true);
                text += "[" + group + "]\n";
            }
            const std::string key = word(name_chars, 12, false);
            std::string value = word(value_chars, 40, true);
            // The canonical form has no blanks at the ends and no comment.
            while (!value.empty() && value.back() == ' ') value.pop_back();
            while (!value.empty() && value.front() == ' ') value.erase(0, 1);
            for (std::size_t p = value.find(" ;"); p != std::string::npos; p = value.find(" ;")) value[p] = '_';
            if (!value.empty() && value.front() == ';') value[0] = '_';
            text += key + " = " + value + "\n";
            expected.push_back({group, key, value});
        }
        EXPECT_EQ(parse(root, text), expected) << text;
    }
}

// Whatever the bytes, entries come out trimmed, with a key and no line ends.
TEST(InikitProperty, RandomTextGivesOnlyTrimmedEntries) {
    TempRoot root;
    std::mt19937 rng(777);
    const std::string alphabet = bytes("[]=:;# \t\r\n\nab1\0\xff");
    for (int round = 0; round < 200; ++round) {
        std::string text;
        const std::size_t len = rng() % 400;
        for (std::size_t i = 0; i < len; ++i) text.push_back(alphabet[rng() % alphabet.size()]);
        const std::vector<Entry> entries = parse(root, text);
        for (const Entry &e : entries) {
            ASSERT_FALSE(e.key.empty()) << round;
            EXPECT_EQ(e.key.find_first_of("=:\n"), std::string::npos) << round;
            EXPECT_EQ(e.value.find('\n'), std::string::npos) << round;
            for (const std::string *s : {&e.group, &e.key, &e.value}) {
                if (s->empty()) continue;
                EXPECT_EQ(std::string(" \t\r").find(s->front()), std::string::npos) << round;
                EXPECT_EQ(std::string(" \t\r").find(s->back()), std::string::npos) << round;
            }
            EXPECT_EQ(e.value.find(" ;"), std::string::npos) << round;
        }
    }
}

// Inserting comments, blank lines and indentation changes nothing.
TEST(InikitProperty, CommentsBlankLinesAndIndentationAreNeutral) {
    TempRoot root;
    const std::string plain = "a=1\n[g]\nb = 2\nc = x;y\n[h]\nd=\n";
    const std::string decorated =
        "; head\n\n   a=1   ; one\n#\n  [g]  ; group\n\t\tb = 2\n\n  c = x;y\n [h]\n   d=\n# end";
    EXPECT_EQ(parse(root, decorated), parse(root, plain));
    EXPECT_EQ(parse(root, plain).size(), 4u);
}

}  // namespace
