#include "linux/account/policy.h"

#include <array>

namespace ZYNE::Linux {
namespace {

// The greatest number that the library that reads it takes.
constexpr const char* ALL_DOMAINS = "<domains><id_range><min>0</min><max>230</max></id_range></domains>";

std::string XmlTime(std::time_t time) {
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    const size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text.data(), size};
}

std::string AllTopicsIn(const std::string& first, const std::string& second) {
    return "<topics><topic>*</topic></topics><partitions><partition>" + first + "</partition><partition>" + second +
        "</partition></partitions>";
}

}  // namespace

std::string PartitionOf(const std::string& udid) {
    return "of." + udid;
}

std::string PartitionTo(const std::string& udid, const std::string& networkId) {
    return "to." + udid + "." + networkId;
}

std::string PartitionOfAll() {
    return PartitionOf("*");
}

std::string GovernanceXml() {
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<dds>
  <domain_access_rules>
    <domain_rule>
      )") +
        ALL_DOMAINS + R"(
      <allow_unauthenticated_participants>false</allow_unauthenticated_participants>
      <enable_join_access_control>true</enable_join_access_control>
      <discovery_protection_kind>ENCRYPT</discovery_protection_kind>
      <liveliness_protection_kind>ENCRYPT</liveliness_protection_kind>
      <rtps_protection_kind>NONE</rtps_protection_kind>
      <topic_access_rules>
        <topic_rule>
          <topic_expression>*</topic_expression>
          <enable_discovery_protection>true</enable_discovery_protection>
          <enable_liveliness_protection>true</enable_liveliness_protection>
          <enable_read_access_control>true</enable_read_access_control>
          <enable_write_access_control>true</enable_write_access_control>
          <metadata_protection_kind>ENCRYPT</metadata_protection_kind>
          <data_protection_kind>NONE</data_protection_kind>
        </topic_rule>
      </topic_access_rules>
    </domain_rule>
  </domain_access_rules>
</dds>
)";
}

std::string PermissionsXml(const std::string& udid, const Validity& validity) {
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<dds>
  <permissions>
    <grant name="device">
      <subject_name>CN=)") +
        udid + R"(</subject_name>
      <validity><not_before>)" +
        XmlTime(validity.notBefore) + "</not_before><not_after>" + XmlTime(validity.notAfter) +
        R"(</not_after></validity>
      <allow_rule>
        )" +
        ALL_DOMAINS + R"(
        <publish>)" +
        AllTopicsIn(PartitionOf(udid), PartitionTo("*", "*")) + R"(</publish>
        <subscribe>)" +
        AllTopicsIn(PartitionOfAll(), PartitionTo(udid, "*")) + R"(</subscribe>
      </allow_rule>
      <default>DENY</default>
    </grant>
  </permissions>
</dds>
)";
}

}  // namespace ZYNE::Linux
