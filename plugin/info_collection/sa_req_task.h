// One request to a system ability: its id, the request code, its interface token, the names of the items asked for.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace ZYNE::CollaborationFwk {

using SaReqTask = std::tuple<int32_t, int32_t, std::u16string, std::vector<std::string>>;

}  // namespace ZYNE::CollaborationFwk
