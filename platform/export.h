// Marks what the library and the process that loads it share.
#pragma once

// The library is built with hidden visibility and leaves these symbols undefined; the process that loads it provides
// them and must keep them visible.
#define PLATFORM_API __attribute__((visibility("default")))
