#ifndef ZR_SUPPORT_EXPORT_H
#define ZR_SUPPORT_EXPORT_H

// Marks what libzrpolicy.so shows to its hosts. Everything else is hidden, and cmake/zrpolicy.version holds the list of
// names once more, so that no template of the C++ runtime slips out beside them.
#define ZR_EXPORT __attribute__((visibility("default")))

#endif  // ZR_SUPPORT_EXPORT_H
