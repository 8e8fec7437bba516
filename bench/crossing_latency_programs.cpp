#include "bench/crossing_latency_programs.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "linux/network/link/endpoint.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using Testing::Eventually;
using Testing::Process;
using Testing::RunCommand;

constexpr const char* LEFT = "left";
constexpr const char* RIGHT = "right";

Testing::DeviceSetup SetupOf(const OwnDevices::Place& place) {
    return {.hasCompanion = true,
        .config = "[input]\ndisplay = \"" + place.display + "\"\n",
        .network = place.network,
        .launcher = place.launcher};
}

void MustSucceed(const Testing::Outcome& outcome) {
    if (outcome.status != 0) {
        throw std::runtime_error("a command fails: " + outcome.out + outcome.err);
    }
}

void SwitchOn(const Testing::TestDevice& device) {
    MustSucceed(device.Ctl({"setting", "put", "device_provisioned", "1"}));
    MustSucceed(device.Ctl({"setting", "put", "user_setup_complete", "1"}));
    MustSucceed(device.Ctl({"switch", "on"}));
}

pid_t ParentOf(pid_t pid) {
    std::ifstream stream("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stream, text);
    pid_t parent = 0;
    char state = 0;
    const size_t afterName = text.rfind(')');
    if (afterName != std::string::npos) {
        std::istringstream(text.substr(afterName + 1)) >> state >> parent;
    }
    return parent;
}

// With all that they have started.
std::vector<pid_t> Families(std::vector<pid_t> pids) {
    std::vector<std::pair<pid_t, pid_t>> all;  // each process with its parent
    for (const auto& entry : fs::directory_iterator("/proc")) {
        if (const pid_t pid = std::atoi(entry.path().filename().c_str()); pid > 0) {
            all.emplace_back(pid, ParentOf(pid));
        }
    }
    for (size_t at = 0; at < pids.size(); ++at) {
        for (const auto& [pid, parent] : all) {
            if (parent == pids[at]) {
                pids.push_back(pid);
            }
        }
    }
    return pids;
}

void Write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

constexpr const char* BARRIER_CONFIG = R"(section: screens
    left:
    right:
end
section: links
    left:
        right = right
    right:
        left = left
end
)";

// A certificate for the server, which the client trusts.
void MakeCertificate(const fs::path& profile) {
    fs::create_directories(profile / "SSL/Fingerprints");
    MustSucceed(RunCommand({"/bin/sh", "-c", "cd '" + profile.string() + R"(/SSL' &&
        openssl req -x509 -nodes -subj /CN=barrier -newkey rsa:2048 -keyout key.pem -out cert.pem 2>/dev/null &&
        cat key.pem cert.pem > Barrier.pem &&
        openssl x509 -in cert.pem -noout -fingerprint -sha256 | sed 's/.*=//; s/://g' | tr A-F a-f |
            sed 's/^/v2:sha256:/' > Fingerprints/TrustedServers.txt)"}));
}

std::string FreePort() {
    const Linux::UniqueFd probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Linux::Endpoint any = *Linux::Endpoint::FromText("127.0.0.1", 0);
    if (bind(probe.Get(), any.Get(), any.Size()) != 0) {
        throw std::runtime_error("no port is free");
    }
    return std::to_string(Linux::Endpoint::OfSocket(probe.Get()).Port());
}

}  // namespace

OwnDevices::OwnDevices(const fs::path& directory, const Place& left, const Place& right)
    : left_(directory / LEFT, LEFT, SetupOf(left)), right_(directory / RIGHT, RIGHT, SetupOf(right)) {
    left_.Start();
    right_.Start();
    if (!Eventually([this] { return left_.Sees(RIGHT) && right_.Sees(LEFT); })) {
        throw std::runtime_error("the devices do not see each other");
    }
    SwitchOn(left_);
    SwitchOn(right_);
    Testing::Outcome placed{};
    if (!Eventually([&] { return (placed = left_.Ctl({"desk", "place", RIGHT, "right"})).status == 0; })) {
        MustSucceed(placed);
    }
}

OwnDevices::~OwnDevices() {
    left_.Stop();
    right_.Stop();
}

std::vector<pid_t> OwnDevices::Processes() const {
    return Families({left_.Pid(), right_.Pid()});
}

Barrier::Barrier(const fs::path& directory, const std::string& left, const std::string& right, Crypto crypto) {
    const fs::path config = directory / "barrier.conf";
    Write(config, BARRIER_CONFIG);
    const std::string address = "127.0.0.1:" + FreePort();
    std::vector<std::string> server{"/usr/bin/barriers", "-f", "--no-tray", "--name", LEFT, "--display", left,
        "--config", config, "--address", address};
    std::vector<std::string> client{"/usr/bin/barrierc", "-f", "--no-tray", "--name", RIGHT, "--display", right};
    if (crypto == Crypto::ON) {
        MakeCertificate(directory / "profile");
        server.insert(server.end(), {"--disable-client-cert-checking", "--profile-dir", directory / "profile"});
        client.insert(client.end(), {"--profile-dir", directory / "profile"});
    } else {
        server.emplace_back("--disable-crypto");
        client.emplace_back("--disable-crypto");
    }
    client.push_back(address);
    const fs::path log = directory / "barriers.txt";
    server_ = std::make_unique<Process>(server, log);
    client_ = std::make_unique<Process>(client, directory / "barrierc.txt");
    if (!Eventually([&] { return Testing::Count(Testing::ReadAll(log), "has connected") > 0; })) {
        throw std::runtime_error("barrier does not start: " + Testing::ReadAll(log));
    }
}

}  // namespace ZYNE::Bench
