// A network of its own, as a machine has one: interfaces, addresses, routes.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "linux/base/unique_fd.h"

namespace ZYNE::Testing {

// The kernel removes it, with all that is in it, when this object, or the whole process, and what runs in it have
// ended: nothing is left behind. Any thread.
class NetworkNamespace {
public:
    // Why none can be made here, as one line; empty when they can. A user other than root becomes the root of a user
    // namespace by this, for which the process must have one thread still.
    static std::string Problem();

    NetworkNamespace();

    // Names it in commands such as `ip link set eth0 netns ...`.
    std::string Path() const;
    // In front of a command: it runs in here, and is killed when the thread that started it ends.
    std::vector<std::string> Launcher() const;

    // A shell script, in here. Throws with what it prints when it fails.
    void Run(const std::string& script) const;
    // On a thread that enters for it. Throws what `work` throws.
    void Within(const std::function<void()>& work) const;

    // Makes this interface, which is in here, hand over frames as they would be on a cable: of the size and with the
    // checksums that the wire has.
    void SwitchOffloadsOff(const std::string& interface) const;

private:
    Linux::UniqueFd descriptor_;
};

}  // namespace ZYNE::Testing
