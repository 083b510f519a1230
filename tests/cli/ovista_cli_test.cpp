// The overview-camera commands: the configuration file as users edit it, and
// the projections between overview pixels and PTZ pan/tilt.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "cli/tool_test.h"
#include "support/temp_root.h"

namespace viewgeo::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char *kConf = "/etc/viewgeo/ovista.conf";
constexpr const char *kBak = "/etc/viewgeo/ovista.bak";

// The defaults as `ovista show` prints them, one field a line.
const std::string kDefaultsShown =
    "center_pan 0.000000\ncenter_tilt -90.000000\ncenter_x 0.500000\ncenter_y 0.500000\n"
    "radius_x 0.304688\nradius_y 0.541667\nfield_angle 99.000000\n"
    "pan_comp.type 0\npan_comp.A 0.000000\npan_comp.B 0.000000\npan_comp.C 0.000000\npan_comp.D 0.000000\n"
    "tilt_comp.type 0\ntilt_comp.A 0.000000\ntilt_comp.B 0.000000\ntilt_comp.C 0.000000\ntilt_comp.D 0.000000\n"
    "x_comp.type 0\nx_comp.A 0.000000\nx_comp.B 0.000000\nx_comp.C 0.000000\nx_comp.D 0.000000\n"
    "y_comp.type 0\ny_comp.A 0.000000\ny_comp.B 0.000000\ny_comp.C 0.000000\ny_comp.D 0.000000\n";

// The file the library writes for the defaults, written out by hand.
const std::string kDefaultsFile =
    "[common]\novista_center_pan = 0.000000\novista_center_tilt = -90.000000\n"
    "[lens_charac]\ncenter_x = 0.500000\ncenter_y = 0.500000\nradius_x = 0.304688\nradius_y = 0.541667\n"
    "field_angle = 99.000000\n"
    "[pan_comp]\ntype = 0\nA = 0.000000\nB = 0.000000\nC = 0.000000\nD = 0.000000\n"
    "[tilt_comp]\ntype = 0\nA = 0.000000\nB = 0.000000\nC = 0.000000\nD = 0.000000\n"
    "[x_comp]\ntype = 0\nA = 0.000000\nB = 0.000000\nC = 0.000000\nD = 0.000000\n"
    "[y_comp]\ntype = 0\nA = 0.000000\nB = 0.000000\nC = 0.000000\nD = 0.000000\n";

// The overview commands, starting without a configuration file.
using Ovista = ToolTest;

TEST_F(Ovista, ShowWithoutAFilePrintsTheDefaults) {
    const ToolResult r = run("ovista show");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, kDefaultsShown);
    EXPECT_EQ(r.err, "");
    EXPECT_FALSE(root_.exists(kConf)) << "show must not write";
}

TEST_F(Ovista, ShowAsJsonIsOneObject) {
    const ToolResult r = run("--json ovista show");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(count_lines(r.out), 1);
    EXPECT_THAT(r.out, StartsWith("{\"center_pan\": 0, \"center_tilt\": -90, "));
    EXPECT_THAT(r.out, HasSubstr("\"radius_x\": 0.3046875, \"radius_y\": 0.541666687, \"field_angle\": 99, "));
    EXPECT_THAT(r.out, HasSubstr("\"y_comp.type\": 0, \"y_comp.A\": 0,"));
}

TEST_F(Ovista, ShowReadsTheFile) {
    root_.write(kConf, "[lens_charac]\nfield_angle = 120\n[common]\novista_center_pan = -45.5\n[x_comp]\ntype = 2\n");
    const ToolResult r = run("ovista show");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("center_pan -45.500000\ncenter_tilt -90.000000\n"));
    EXPECT_THAT(r.out, HasSubstr("\nfield_angle 120.000000\n"));
    EXPECT_THAT(r.out, HasSubstr("\nx_comp.type 2\n"));
}

TEST_F(Ovista, GarbageFileKeepsTheDefaultsOfEveryFieldItCannotRead) {
    // Unknown lines are skipped and values that do not convert keep the
    // default: a damaged file still gives a usable overview camera.
    root_.write(kConf, std::string("\x7f" "ELF\x01\x02", 6) + std::string(2, '\0') +
                           "junk\n[lens_charac\nfield_angle = wide\n=3\n[lens_charac]\nradius_x = narrow\n");
    const ToolResult r = run("ovista show");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, kDefaultsShown);
}

TEST_F(Ovista, UnreadableFileIsAnErrorNamingIt) {
    root_.make_dir(kConf);  // present, but not a file that can be read
    for (const char *command :
         {"ovista show", "ovista set field_angle 90", "ovista save", "ovista backup", "ovista restore",
          "ovista to-ptz 1 2", "ovista to-pixel 0 -90"}) {
        SCOPED_TRACE(command);
        expect_error(run(command), "cannot read /etc/viewgeo/ovista.conf", 1);
    }
    EXPECT_FALSE(root_.exists(kBak));
}

TEST_F(Ovista, SetChangesFieldsAndSaves) {
    const ToolResult r = run("ovista set field_angle 120 center_pan -30.25 x_comp.type 2 x_comp.D -1.5");
    EXPECT_EQ(r.status, 0) << r.err;
    // The fields given, in the order `ovista show` prints them.
    EXPECT_EQ(r.out, "center_pan -30.250000  field_angle 120.000000  x_comp.type 2  x_comp.D -1.500000  "
                     "saved /etc/viewgeo/ovista.conf\n");
    const std::string file = root_.read(kConf);
    EXPECT_THAT(file, HasSubstr("[common]\novista_center_pan = -30.250000\novista_center_tilt = -90.000000\n"));
    EXPECT_THAT(file, HasSubstr("field_angle = 120.000000\n"));
    EXPECT_THAT(file, HasSubstr("[x_comp]\ntype = 2\nA = 0.000000\nB = 0.000000\nC = 0.000000\nD = -1.500000\n"));
    // What was saved is what the next command reads.
    EXPECT_THAT(run("ovista show").out, HasSubstr("\nx_comp.D -1.500000\n"));
}

TEST_F(Ovista, SetKeepsFieldsItWasNotGiven) {
    root_.write(kConf, "[lens_charac]\nradius_x = 0.25\n");
    ASSERT_EQ(run("ovista set center_tilt -80").status, 0);
    const std::string file = root_.read(kConf);
    EXPECT_THAT(file, HasSubstr("radius_x = 0.250000\n"));
    EXPECT_THAT(file, HasSubstr("ovista_center_tilt = -80.000000\n"));
}

TEST_F(Ovista, SetAsJsonEndsWithTheSavedPath) {
    const ToolResult r = run("--json ovista set radius_y 0.5");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"radius_y\": 0.5, \"saved\": \"/etc/viewgeo/ovista.conf\"}\n");
}

struct BadSet {
    const char *args;
    const char *named;
};

void PrintTo(const BadSet &bad, std::ostream *os) { *os << "viewgeo ovista set " << bad.args; }

class OvistaBadSet : public Ovista, public ::testing::WithParamInterface<BadSet> {};

TEST_P(OvistaBadSet, NamesTheArgumentAndLeavesTheFileAlone) {
    root_.write(kConf, "[lens_charac]\nfield_angle = 120\n");
    expect_error(run(std::string("ovista set ") + GetParam().args), GetParam().named);
    EXPECT_EQ(root_.read(kConf), "[lens_charac]\nfield_angle = 120\n");
}

// Rows of data, alike in shape to the other tables of bad arguments on
// purpose.
INSTANTIATE_TEST_SUITE_P(
    Ovista, OvistaBadSet,
    ::testing::Values(BadSet{"", "KEY"}, BadSet{"field_angle", "VALUE"},
                      BadSet{"field_angle 90 radius_x", "VALUE"}, BadSet{"fov 90", "unknown key 'fov'"},
                      BadSet{"rotation 90", "unknown key 'rotation'"}, BadSet{"x_comp.E 1", "unknown key 'x_comp.E'"},
                      BadSet{"z_comp.A 1", "unknown key 'z_comp.A'"}, BadSet{"field_angle wide", "field_angle"},
                      BadSet{"field_angle 90deg", "field_angle"}, BadSet{"center_x nan", "center_x"},
                      BadSet{"radius_x 1e99", "radius_x"}, BadSet{"pan_comp.type 1.5", "pan_comp.type"},
                      BadSet{"pan_comp.type 99999999999", "pan_comp.type"},
                      BadSet{"field_angle 90 center_y x", "center_y"}),
    case_name<BadSet>);

TEST_F(Ovista, SetIntoAMissingDirectoryCannotWrite) {
    root_.remove("/etc/viewgeo");
    expect_error(run("ovista set field_angle 90"), "cannot write /etc/viewgeo/ovista.conf", 1);
}

TEST_F(Ovista, SaveWritesTheStandardForm) {
    const ToolResult r = run("ovista save");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "saved /etc/viewgeo/ovista.conf\n");
    EXPECT_EQ(root_.read(kConf), kDefaultsFile);
    EXPECT_EQ(run("--json ovista save").out, "{\"saved\": \"/etc/viewgeo/ovista.conf\"}\n");
}

TEST_F(Ovista, SaveAndBackupIntoAMissingDirectoryFail) {
    root_.remove("/etc/viewgeo");
    expect_error(run("ovista save"), "cannot write /etc/viewgeo/ovista.conf", 1);
    expect_error(run("ovista backup"), "cannot write /etc/viewgeo/ovista.bak", 1);
}

TEST_F(Ovista, BackupCopiesTheConfiguration) {
    root_.write(kConf, "[common]\novista_center_pan = 12\n");
    const ToolResult r = run("ovista backup");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "saved /etc/viewgeo/ovista.bak\n");
    EXPECT_THAT(root_.read(kBak), StartsWith("[common]\novista_center_pan = 12.000000\n"));
    EXPECT_EQ(root_.read(kConf), "[common]\novista_center_pan = 12\n") << "backup leaves the working file";
}

TEST_F(Ovista, RestoreBringsTheBackupBack) {
    ASSERT_EQ(run("ovista set field_angle 110").status, 0);
    ASSERT_EQ(run("ovista backup").status, 0);
    ASSERT_EQ(run("ovista set field_angle 80").status, 0);
    const ToolResult r = run("ovista restore");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("\nfield_angle 110.000000\n"));
    EXPECT_THAT(r.out, EndsWith("\nrestored_from /etc/viewgeo/ovista.bak\n"));
    EXPECT_THAT(root_.read(kConf), HasSubstr("field_angle = 110.000000\n"));
}

TEST_F(Ovista, RestoreWithoutBackupFailsAndKeepsTheConfiguration) {
    root_.write(kConf, "[lens_charac]\nfield_angle = 120\n");
    expect_error(run("ovista restore"), "no backup /etc/viewgeo/ovista.bak", 1);
    EXPECT_EQ(root_.read(kConf), "[lens_charac]\nfield_angle = 120\n");
}

TEST_F(Ovista, RestoreWithoutBackupResetsToTheDefaultsWhenAsked) {
    root_.write(kConf, "[lens_charac]\nfield_angle = 120\n");
    const ToolResult r = run("--json ovista restore --defaults-if-missing");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("\"field_angle\": 99,"));
    EXPECT_THAT(r.out, EndsWith("\"restored_from\": \"defaults\"}\n"));
    EXPECT_EQ(root_.read(kConf), kDefaultsFile);
}

TEST_F(Ovista, UnreadableBackupLeavesTheConfigurationAlone) {
    root_.write(kConf, "[lens_charac]\nfield_angle = 120\n");
    root_.make_dir(kBak);
    expect_error(run("ovista restore"), "cannot restore /etc/viewgeo/ovista.conf from /etc/viewgeo/ovista.bak", 1);
    EXPECT_EQ(root_.read(kConf), "[lens_charac]\nfield_angle = 120\n");
}

// With the default circle (centre 960 540, 585 pixels for 99 degrees) a pixel
// 195 pixels above the centre is 195 x 99 / 585 = 33 degrees off the axis,
// straight "up" (pan 0); the axis looks down (tilt -90), so absolute -57.
TEST_F(Ovista, PixelToPtzFollowsTheFisheye) {
    EXPECT_EQ(run("ovista to-ptz 960 345").out, "pan 0.000000  tilt -57.000000\n");
    EXPECT_EQ(run("ovista to-ptz 960 345 --rel").out, "pan 0.000000  tilt 33.000000\n");
    EXPECT_EQ(run("--json ovista to-ptz 960 540").out, "{\"pan\": 0, \"tilt\": -90}\n");
    // 585 pixels right of the centre: pan 90, 99 degrees from the axis.
    EXPECT_EQ(run("ovista to-ptz 1545 540 --rel").out, "pan 90.000000  tilt 99.000000\n");
}

TEST_F(Ovista, PixelToPtzUsesTheAxisOfTheFileAndThePictureSize) {
    root_.write(kConf, "[common]\novista_center_pan = 100\novista_center_tilt = -80\n");
    EXPECT_EQ(run("ovista to-ptz 960 345").out, "pan 100.000000  tilt -47.000000\n");
    // The centre of a 960 x 540 picture is (480, 270).
    EXPECT_EQ(run("ovista to-ptz 480 270 --size 960x540 --rel").out, "pan 0.000000  tilt 0.000000\n");
}

TEST_F(Ovista, PtzToPixelFollowsTheFisheye) {
    EXPECT_EQ(run("ovista to-pixel 0 -90").out, "x 960  y 540\n");
    EXPECT_EQ(run("ovista to-pixel 0 -57").out, "x 960  y 345\n");
    EXPECT_EQ(run("--json ovista to-pixel 90 9").out, "{\"x\": 1545, \"y\": 540}\n");
    // Mirroring reverses the pan sense; rotation is added to the pan.
    EXPECT_EQ(run("ovista to-pixel 30 -60 --mirror").out, run("ovista to-pixel -30 -60").out);
    EXPECT_EQ(run("ovista to-pixel 0 -57 --rot 90").out, run("ovista to-pixel 90 -57").out);
    EXPECT_EQ(run("ovista to-pixel 0 -57 --size 960x540").out, "x 480  y 173\n");
}

TEST_F(Ovista, BatchAnswersOneLinePerQuery) {
    const ToolResult r = run("batch", "ovista to-ptz 960 345\novista show\novista to-pixel 0 -90\novista bogus\n");
    EXPECT_EQ(r.status, 1);
    ASSERT_EQ(count_lines(r.out), 4) << r.out;
    EXPECT_THAT(r.out, StartsWith("pan 0.000000  tilt -57.000000\ncenter_pan 0.000000  center_tilt -90.000000  "));
    EXPECT_THAT(r.out, EndsWith("y_comp.D 0.000000\nx 960  y 540\nerror\n"));
    EXPECT_THAT(r.err, StartsWith("viewgeo: line 4: "));
    EXPECT_THAT(r.err, HasSubstr("bogus"));
}

TEST_F(Ovista, BatchAsJson) {
    const ToolResult r = run("--json batch", "ovista to-ptz 960 345 --rel\novista set field_angle 90\n");
    EXPECT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(count_lines(r.out), 2) << r.out;
    EXPECT_EQ(r.out, "{\"pan\": 0, \"tilt\": 33}\n{\"field_angle\": 90, \"saved\": \"/etc/viewgeo/ovista.conf\"}\n");
    EXPECT_THAT(root_.read(kConf), HasSubstr("field_angle = 90.000000\n"));
}

TEST_F(Ovista, BatchReportsAnUnreadableFileAndGoesOn) {
    root_.make_dir(kConf);
    const ToolResult r = run("batch", "ovista show\nwrap-pan 190\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "error\npan -170.000000\n");
    EXPECT_THAT(r.err, StartsWith("viewgeo: line 1: cannot read /etc/viewgeo/ovista.conf"));
    EXPECT_EQ(count_lines(r.err), 1);
}

class OvistaBadArguments : public Ovista, public ::testing::WithParamInterface<BadArgs> {};

TEST_P(OvistaBadArguments, GiveOneLineNamingTheArgumentAndFail) { expect_error(run(GetParam().args), GetParam().named); }

// Rows of data, alike in shape to the other tables of bad arguments on
// purpose.
INSTANTIATE_TEST_SUITE_P(
    Ovista, OvistaBadArguments,
    ::testing::Values(BadArgs{"ovista", "subcommand"}, BadArgs{"ovista bogus", "bogus"},
                      BadArgs{"ovista show extra", "extra"}, BadArgs{"ovista to-ptz 10", "y"},
                      BadArgs{"ovista to-ptz ten 10", "x"}, BadArgs{"ovista to-ptz 1 2 --size 10", "--size"},
                      BadArgs{"ovista to-ptz 1 2 --size 0x0", "--size"}, BadArgs{"ovista to-ptz 1 2 --rot r", "--rot"},
                      BadArgs{"ovista to-pixel 10", "tilt"}, BadArgs{"ovista to-pixel up 10", "pan"},
                      BadArgs{"ovista to-pixel 1 2 --mirror=maybe", "mirror"},
                      BadArgs{"ovista to-pixel 1 2 --rel", "--rel"}),
    case_name<BadArgs>);

TEST_F(Ovista, EverySubcommandHasHelp) {
    for (const char *command : {"ovista", "ovista show", "ovista set", "ovista save", "ovista backup",
                                "ovista restore", "ovista to-ptz", "ovista to-pixel"}) {
        const ToolResult r = run(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_THAT(r.out, HasSubstr("Usage")) << command;
        EXPECT_THAT(r.out, Not(HasSubstr("--hfov"))) << command;
    }
}

}  // namespace
}  // namespace viewgeo::testing
