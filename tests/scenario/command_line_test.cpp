// What people and scripts see at the command line: output, errors, exit statuses.
#include <csignal>
#include <fstream>

#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class CommandLine : public Scenario {
protected:
    // That it failed, with one line on standard error that has all of `parts` in it.
    static void ExpectFailure(const Outcome& outcome, int status, const std::vector<std::string>& parts) {
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        for (const std::string& part : parts) {
            EXPECT_THAT(outcome.err, HasSubstr(part));
        }
        EXPECT_EQ(outcome.out, "");
    }
};

TEST_F(CommandLine, PrintsPeersAndInfoAsTablesAndAsJson) {
    StartPhoneAndPc();
    ASSERT_TRUE(Eventually([this] { return phone->AskOne("pc", "service.hello") != ""; }));

    EXPECT_EQ(phone->Ctl({"devices"}).out.find("NAME"), 0u);
    EXPECT_THAT(phone->Ctl({"devices"}).out, HasSubstr("pc"));
    EXPECT_THAT(phone->Ctl({"devices", "--json"}).out, HasSubstr("\"online\" : true"));
    EXPECT_EQ(phone->Ctl({"info", "get", "pc", "service.hello"}).out,
        "KEY            VALUE\nservice.hello  hello from the service\n");
    EXPECT_THAT(phone->Ctl({"info", "get", "pc", "service.hello", "--json"}).out, HasSubstr("\"code\" : 0"));
    EXPECT_THAT(phone->Ctl({"log", "--lines", "1000"}).out, HasSubstr("infoRes result receive success"));
}

TEST_F(CommandLine, TellsWhyARequestFailedAndEndsWithOne) {
    StartPhoneAndPc();
    ExpectFailure(phone->Ctl({"info", "get", "nobody", "a"}), 1, {"nobody"});
    ExpectFailure(phone->Ctl({"info", "get", "pc", "service.late", "--timeout", "1"}), 1, {"in time"});
    pc->Stop();
    ASSERT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    ExpectFailure(phone->Ctl({"info", "get", "pc", "service.hello"}), 1, {"2203", "gone"});
    ExpectFailure(RunCommand({COLLABCTL, "--device", "nobody", "devices"}), 1, {"nobody"});
}

TEST_F(CommandLine, RefusesWrongUsageWithOneLine) {
    for (const std::vector<std::string>& wrong :
        std::vector<std::vector<std::string>>{{COLLABCTL, "--bogus"}, {COLLABCTL, "info", "get", "pc"},
            {COLLABCTL, "info", "get", "pc", "a", "--timeout", "soon"},
            {COLLABCTL, "profile", "put", "key", "value", "--service", "s"}, {COLLABCTL, "profile", "get", "pc", "key"},
            {COLLABCTL, "setting", "put", "key"}, {COLLABCTL, "setting", "get", "key", "--user", "-1"},
            {COLLABCTL, "watch"}, {COLLABCTL, "watch", "weather"}, {COLLABCTL, "switch"}, {COLLABCTL, "switch", "dim"},
            {COLLABCTL, "input", "move", "1"}, {COLLABCTL, "input", "key", "press", "0"},
            {COLLABCTL, "user", "switch", "Anna"}, {COLLABCTL, "screen", "dim"}, {COLLABCTL, "explain"},
            {COLLABCTL, "account", "create"}, {COLLABD}, {COLLABD, "--config"}}) {
        ExpectFailure(RunCommand(wrong), 2, {"--help"});
    }
    EXPECT_EQ(RunCommand({COLLABCTL, "--help"}).status, 0);
    EXPECT_EQ(RunCommand({COLLABD, "--help"}).status, 0);
}

TEST_F(CommandLine, NamesTheKeyThatIsWrongInAConfiguration) {
    const struct {
        const char* text;
        std::vector<std::string> parts;
    } cases[] = {
        {"[device]\nname = ", {":2:"}},
        {"[device]\nname = 7\n", {":2:", "name"}},
        {"[device]\nname = \"a\"\ntype = \"toaster\"\n", {":3:", "type", "phone"}},
        {"[device]\nname = \"a\"\ntype = \"pc\"\nstate_directory = \"s\"\ncolour = 1\n", {":5:", "colour"}},
        {"[device]\nname = \"a\"\ntype = \"pc\"\nstate_directory = \"s\"\n", {"mode"}},
        {"[device]\nname = \"a\"\ntype = \"pc\"\nstate_directory = \"s\"\n[account]\nmode = \"account\"\n"
         "credentials = \"none\"\n",
            {":7:", "credentials", "none"}},
    };
    const std::string file = directory / "wrong.toml";
    for (const auto& wrong : cases) {
        std::ofstream(file) << wrong.text;
        std::vector<std::string> parts = wrong.parts;
        parts.push_back(file);
        ExpectFailure(RunCommand({COLLABD, "--config", file}), 2, parts);
    }
}

TEST_F(CommandLine, RefusesASecondDaemonOfTheSameDeviceAndReplacesOneThatWasKilled) {
    TestDevice& device = Add("one", {.open = true});
    device.Start();
    const Outcome second = RunCommand({COLLABD, "--config", device.ConfigFile()});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("one"));

    device.Kill();
    device.Start();
    EXPECT_EQ(device.Ctl({"devices"}).status, 0);
}

TEST_F(CommandLine, KeepsDirectoriesAndKeysToTheUser) {
    TestDevice& device = Add("one");
    device.Start();
    for (const std::filesystem::path& path : {device.Directory() / "state", device.Entry()->runtimeDirectory}) {
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all) << path;
    }
    const auto key = std::filesystem::status(device.Directory() / "credentials/device.key").permissions();
    EXPECT_EQ(
        key & (std::filesystem::perms::group_all | std::filesystem::perms::others_all), std::filesystem::perms::none);
    ExpectFailure(RunCommand({COLLABCTL, "account", "create", directory / "account-home", "--name", "home"}), 1,
        {"account-home"});
}

}  // namespace
}  // namespace ZYNE::Testing
