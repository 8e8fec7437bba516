// Marks the classes and operations that hosts may use; everything else in the library is hidden.
#pragma once

#define CFWK_EXPORT __attribute__((visibility("default")))
