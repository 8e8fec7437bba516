// What is wanted of an app: one of its abilities by name, or any that answers an action, with parameters.
#pragma once

#include <map>
#include <string>

#include "platform/ability/element_name.h"

namespace ZYNE {

class Want {
public:
    Want& SetElementName(const std::string& bundleName, const std::string& abilityName) {
        element_ = ElementName(bundleName, abilityName);
        return *this;
    }
    Want& SetAction(const std::string& action) {
        action_ = action;
        return *this;
    }
    Want& SetParam(const std::string& name, bool value) {
        params_[name] = value;
        return *this;
    }

    const ElementName& GetElement() const { return element_; }
    const std::string& GetAction() const { return action_; }
    const std::map<std::string, bool>& GetParams() const { return params_; }

private:
    ElementName element_;
    std::string action_;
    std::map<std::string, bool> params_;
};

}  // namespace ZYNE
