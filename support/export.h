#pragma once

// Marks what libzrpolicy.so shows to its hosts. Everything else is hidden, and cmake/zrpolicy.version holds the list of
// names once more, so that no template of the C++ runtime slips out beside them.
#define ZR_EXPORT __attribute__((visibility("default")))
