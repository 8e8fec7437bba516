// The name of one ability of an installed app.
#pragma once

#include <string>
#include <utility>

namespace ZYNE {

class ElementName {
public:
    ElementName() = default;
    ElementName(std::string bundleName, std::string abilityName)
        : bundleName_(std::move(bundleName)), abilityName_(std::move(abilityName)) {}

    const std::string& GetBundleName() const { return bundleName_; }
    const std::string& GetAbilityName() const { return abilityName_; }

private:
    std::string bundleName_;
    std::string abilityName_;
};

}  // namespace ZYNE
