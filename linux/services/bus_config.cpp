#include "linux/services/bus_config.h"

#include <algorithm>
#include <climits>
#include <stdexcept>
#include <string_view>

#include <systemd/sd-bus.h>

namespace ZYNE::Linux {
namespace {

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

// Quoted for the daemon, which splits as a shell does. Backslashes are doubled, as the file's own escapes are undone
// first.
std::string QuoteArgument(std::string_view argument) {
    std::string quoted = "'";
    for (const char character : argument) {
        if (character == '\'') {
            quoted += R"('\\'')";
        } else if (character == '\\') {
            quoted += R"(\\)";
        } else {
            quoted += character;
        }
    }
    return quoted + "'";
}

bool HasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
        [](char character) { return static_cast<unsigned char>(character) < ' ' || character == '\x7f'; });
}

}  // namespace

// Only the daemon's own user is let in: that is its rule where the policy names no user. The limits are high enough for
// a busy device, with many requests under way, each with a connection and perhaps a file. Answers to a program that
// never reads count as incoming bytes of the device: a low limit there would let that program keep the device from
// answering others. Calls beyond what the device takes still reach it, so that it can refuse them. Connections that do
// not authenticate are dropped after two seconds.
std::string BusConfig(const std::string& address, const std::filesystem::path& serviceDirectory) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>custom</type>
  <listen>)" +
        EscapeXml(address) + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
        EscapeXml(serviceDirectory.native()) + R"(</servicedir>
  <policy context="default">
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
  <limit name="max_message_size">16777216</limit>
  <limit name="max_incoming_bytes">1073741824</limit>
  <limit name="max_outgoing_bytes">67108864</limit>
  <limit name="max_message_unix_fds">4</limit>
  <limit name="max_incoming_unix_fds">256</limit>
  <limit name="max_outgoing_unix_fds">256</limit>
  <limit name="max_completed_connections">1000</limit>
  <limit name="max_connections_per_user">1000</limit>
  <limit name="max_incomplete_connections">2048</limit>
  <limit name="auth_timeout">2000</limit>
  <limit name="max_replies_per_connection">8192</limit>
  <limit name="service_start_timeout">10000</limit>
</busconfig>
)";
}

void CheckService(const BusService& service) {
    if (sd_bus_service_name_is_valid(service.name.c_str()) <= 0 || service.name.starts_with(':')) {
        throw std::runtime_error("\"" + service.name + "\" is no bus name");
    }
    if (ActivationFileName(service).size() > NAME_MAX) {
        throw std::runtime_error("the bus name " + service.name + " is too long for the name of a file");
    }
    if (service.command.empty() || !service.command.front().starts_with('/')) {
        throw std::runtime_error("the service " + service.name + " has no command with an absolute path");
    }
    if (std::any_of(service.command.begin(), service.command.end(), HasControlCharacter)) {
        throw std::runtime_error("the command of the service " + service.name + " has control characters");
    }
}

std::string ActivationFileName(const BusService& service) {
    return service.name + ".service";
}

std::string ActivationFile(const BusService& service) {
    CheckService(service);
    std::string command;
    for (const std::string& argument : service.command) {
        command += (command.empty() ? "" : " ") + QuoteArgument(argument);
    }
    return "[D-BUS Service]\nName=" + service.name + "\nExec=" + command + "\n";
}

}  // namespace ZYNE::Linux
