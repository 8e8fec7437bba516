#include "tests/network/network_namespace.h"

#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/scenario/process.h"

namespace ZYNE::Testing {
namespace {

using Linux::UniqueFd;

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

void OnOtherThread(const std::function<void()>& work) {
    std::exception_ptr failure;
    std::thread([&] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    }).join();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void BecomeRootOfUserNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER) != 0) {
        Fail("a user namespace cannot be made");
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

std::string TryToMakeOne() {
    try {
        if (geteuid() != 0) {
            BecomeRootOfUserNamespace();
        }
        const NetworkNamespace network;
        network.Run("ip link add first type veth peer name second");
        network.Within([] {
            if (!UniqueFd(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0))) {
                Fail("a packet socket cannot be made");
            }
        });
        return {};
    } catch (const std::exception& error) {
        return error.what();
    }
}

}  // namespace

std::string NetworkNamespace::Problem() {
    static const std::string PROBLEM = TryToMakeOne();
    return PROBLEM;
}

NetworkNamespace::NetworkNamespace() {
    OnOtherThread([this] {
        if (unshare(CLONE_NEWNET) != 0) {
            Fail("a network namespace cannot be made");
        }
        descriptor_ = UniqueFd(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
        for (const char* which : {"all", "default"}) {  // an address can be used at once
            std::ofstream("/proc/sys/net/ipv6/conf/" + std::string(which) + "/accept_dad") << 0;
        }
    });
    Run("ip link set lo up");
}

std::string NetworkNamespace::Path() const {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor_.Get());
}

std::vector<std::string> NetworkNamespace::Launcher() const {
    return {"/usr/bin/setpriv", "--pdeathsig", "KILL", "/usr/bin/nsenter", "--net=" + Path()};
}

void NetworkNamespace::Run(const std::string& script) const {
    std::vector<std::string> command = Launcher();
    command.insert(command.end(), {"/bin/sh", "-ec", script});
    const Outcome outcome = RunCommand(command);
    if (outcome.status != 0) {
        throw std::runtime_error(script + ": " + outcome.err);
    }
}

void NetworkNamespace::Within(const std::function<void()>& work) const {
    OnOtherThread([&] {
        if (setns(descriptor_.Get(), CLONE_NEWNET) != 0) {
            Fail("the network namespace cannot be entered");
        }
        work();
    });
}

void NetworkNamespace::SwitchOffloadsOff(const std::string& interface) const {
    Within([&] {
        const UniqueFd control(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        for (const uint32_t offload : {ETHTOOL_STXCSUM, ETHTOOL_STSO, ETHTOOL_SGSO, ETHTOOL_SGRO}) {
            ethtool_value off{offload, 0};
            ifreq request{};
            interface.copy(static_cast<char*>(request.ifr_name), IFNAMSIZ - 1);
            request.ifr_data = reinterpret_cast<char*>(&off);
            if (ioctl(control.Get(), SIOCETHTOOL, &request) != 0) {
                Fail("an offload of " + interface + " cannot be switched off");
            }
        }
    });
}

}  // namespace ZYNE::Testing
