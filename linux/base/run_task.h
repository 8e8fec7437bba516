// Runs tasks that were posted.
#pragma once

#include <functional>

namespace ZYNE::Linux {

// Runs `task` and destroys it at once, as it may hold the last reference to something large or slow to end. An
// exception that leaves it is logged.
void RunTask(std::function<void()> task) noexcept;

}  // namespace ZYNE::Linux
