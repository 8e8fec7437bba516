// What people and scripts see at the command line: output, errors, exit statuses.
#include <csignal>
#include <fstream>
#include <sys/stat.h>

#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

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
    ASSERT_TRUE(Eventually([this] { return !phone->AskOne("pc", "service.hello").empty(); }));

    EXPECT_EQ(phone->Ctl({"devices"}).out.find("NAME"), 0u);
    EXPECT_THAT(phone->Ctl({"devices"}).out, HasSubstr("pc"));
    EXPECT_THAT(phone->Ctl({"devices", "--json"}).out, HasSubstr("\"online\" : true"));
    EXPECT_EQ(phone->Ctl({"info", "get", "pc", "service.hello"}).out,
        "KEY            VALUE\nservice.hello  hello from the service\n");
    EXPECT_EQ(RunCommand({ASK_PEER, "phone", "pc", "service.hello"}).out, "hello from the service\n");
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
    for (const char* verb : {"get", "put"}) {
        std::vector<std::string> words{"setting", verb, "key", "--user", "7777"};
        words.insert(words.end(), verb == std::string("put") ? 1 : 0, "value");
        ExpectFailure(phone->Ctl(words), 1, {"no user 7777"});
    }
}

TEST_F(CommandLine, FailsWhenItsOutputCannotBeWritten) {
    TestDevice& device = Add("one", {.open = true});
    device.Start();
    for (const std::string command : {"devices", "status --json", "log", "--help"}) {
        for (const std::string out : {"/dev/full", "&-"}) {
            const Outcome outcome = RunCommand({"/bin/sh", "-c", COLLABCTL " --device one " + command + " >" + out});
            ExpectFailure(outcome, 1, {"cannot be written"});
        }
    }
    Process watch(
        {"/bin/sh", "-c",
            "exec " COLLABCTL " --device one profile watch >/dev/full 2>" + (directory / "watching").string()},
        directory / "watch");
    ASSERT_TRUE(Eventually([this] { return !ReadAll(directory / "watching").empty(); }));
    EXPECT_EQ(device.Api().Profiles().Put("sound", "audio", "volume", "7"), 0);
    EXPECT_EQ(watch.Wait(), 1);
}

TEST_F(CommandLine, FollowsTheLogUntilItIsInterruptedOrTheDeviceEnds) {
    TestDevice& device = Add("one", {.open = true});
    device.Start();
    const auto follow = [&](const char* name) {
        auto process = std::make_unique<Process>(
            std::vector<std::string>{COLLABCTL, "--device", "one", "log", "--follow"}, directory / name);
        EXPECT_TRUE(Eventually([&] { return ReadAll(directory / name).find("Device") != std::string::npos; }));
        return process;
    };
    const auto interrupted = follow("interrupted");
    const auto ended = follow("ended");
    interrupted->Signal(SIGINT);
    EXPECT_EQ(interrupted->Wait(), 0);
    device.Stop();
    EXPECT_EQ(ended->Wait(), 1);
    EXPECT_THAT(ReadAll(directory / "ended"), EndsWith("has ended\n"));
}

TEST_F(CommandLine, ShowsWhatATerminalWouldObeyEscaped) {
    TestDevice& device = Add("one", {.open = true});
    device.Start();
    ASSERT_EQ(device.Api().Profiles().Put("sound", "audio", "volume", "a\u009b\u200b\u202eb"), 0);
    EXPECT_THAT(device.Ctl({"profile", "list"}).out, HasSubstr(R"(a\xc2\x9b\xe2\x80\x8b\xe2\x80\xaeb)"));
    EXPECT_THAT(device.Ctl({"profile", "list", "--json"}).out, HasSubstr(R"(a\u009b\u200b\u202eb)"));
    std::ofstream(directory / "wrong.toml") << "[device]\n\"\\u001b[2J\" = 1\nname = \"a\"\ntype = \"pc\"\n";
    EXPECT_EQ(RunCommand({COLLABD, "--config", directory / "wrong.toml"}).err.find('\x1b'), std::string::npos);
}

TEST_F(CommandLine, WhoOnlyLooksLeavesNothingBehindAndWaitsForNobody) {
    TestDevice& device = Add("one", {.open = true});
    device.Start();
    const std::filesystem::path address = device.Entry()->runtimeDirectory / "address";
    std::filesystem::remove(address);
    ASSERT_EQ(mkfifo(address.c_str(), 0600), 0);
    ExpectFailure(device.Ctl({"devices"}), 1, {"starting"});

    const std::string empty = directory / "empty";
    std::filesystem::create_directory(empty);
    ExpectFailure(RunCommand({"/usr/bin/env", "XDG_RUNTIME_DIR=" + empty, COLLABCTL, "devices"}), 1, {"no device"});
    EXPECT_TRUE(std::filesystem::is_empty(empty));
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
    ExpectFailure(RunCommand({COLLABCTL, "profile", "get", "pc"}), 2, {"(see collabctl profile get --help)"});
    EXPECT_EQ(RunCommand({COLLABCTL, "--help"}).status, 0);
    EXPECT_EQ(RunCommand({COLLABD, "--help"}).status, 0);
}

TEST_F(CommandLine, NamesTheKeyThatIsWrongInAConfiguration) {
    const std::string file = directory / "wrong.toml";
    const std::string device = "[device]\nname = \"a\"\ntype = \"pc\"\nstate_directory = \"s\"\n";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"[device]\nname = ", {":2:"}},
        {"[device]\nname = \"a\"\ntype = \"toaster\"\n", {":3:", "type", "phone"}},
        {device + "colour = 1\n", {":5:", "colour"}},
        {device + "tpye = \"pc\"\n", {":5:", "did you mean \"type\"?"}},
        {device, {"mode"}},
        {device + "[account]\nmode = \"account\"\ncredentials = \"none\"\n", {":7:", "credentials", "none"}},
    };
    for (auto [text, parts] : cases) {
        std::ofstream(file) << text;
        parts.push_back(file);
        ExpectFailure(RunCommand({COLLABD, "--config", file}), 2, parts);
    }
}

TEST_F(CommandLine, ChecksTheFilesThatAConfigurationNames) {
    namespace fs = std::filesystem;
    const fs::path home = directory / "checked";
    const auto write = [&](const char* name, const std::string& text) {
        fs::create_directories((home / name).parent_path());
        std::ofstream(home / name) << text;
        return (home / name).string();
    };
    const std::string manifest = write("apps/a/manifest.json",
        "{\n\"bundleName\": \"org.example.a\",\n\"enabeld\": true,\n\"extensions\": [{\"name\": \"E\", "
        "\"exec\": [\"none\"]}]}");
    const std::string broken = write("apps/b/manifest.json", "{\n\n]");
    const std::string wrong = write("apps/c/manifest.json", "{\n\"bundleName\": 7}");
    const std::string table = write("table.json", "{\"abilities\": [\n{\"id\": 90001, \"busname\": \"a.b\"}]}");
    const std::string providers = write("root/system/etc/CollaborationFwk/requestSaPre.json",
        "{\"info_config\": [\n{\"sa_id\": 7, \"sa_descriptor\": \"d\", \"cmdCode_id\": \"1\", \"static_info\": [],\n"
        "\"dynamic_info\": []}]}");
    const std::string text = "[device]\nname = \"a\"\ntype = \"pc\"\nstate_directory = \"s\"\nsystem_root = \"root\"\n"
                             "[account]\nmode = \"account\"\ncredentials = \"keys\"\n[apps]\ndirectory = \"apps\"\n"
                             "[services]\ntable = \"table.json\"\n[network]\ninterface = \"none0\"\n";
    fs::create_directory(home / "keys");
    const std::string file = write("device.toml", text);
    const Outcome outcome = RunCommand({COLLABD, "--config", file, "--check"});
    EXPECT_EQ(outcome.status, 2);
    for (const std::string& line :
        {(home / "keys/").string(), file + ":14: network.interface: this machine has no interface none0",
            table + ":2: entry 0: \"busName\" must be a string", providers + ":2: \"cmdCode_id\" must be",
            providers + ":2: the table of system services has no service 7",
            manifest + ":3: \"enabeld\" is not a known key, did you mean \"enabled\"?",
            manifest + ":4: " + (home / "apps/a/none").string() + " cannot be run",
            broken + ":3: ", wrong + ":2: \"bundleName\" must be a string"}) {
        EXPECT_THAT(outcome.err, HasSubstr("collabd: " + line));
    }
    EXPECT_EQ(RunCommand({COLLABD, "--config", Add("one").ConfigFile(), "--check"}).status, 0);
    EXPECT_FALSE(fs::exists(home / "s"));
}

TEST_F(CommandLine, RefusesADaemonWithTooFewDescriptorsOrOfADeviceThatRunsAndReplacesOneThatWasKilled) {
    TestDevice& device = Add("one", {.open = true});
    const std::string few = "ulimit -n 64; exec " COLLABD " --config " + device.ConfigFile().string();
    ExpectFailure(RunCommand({"/bin/sh", "-c", few}), 1, {"limit of 64 open files"});

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
