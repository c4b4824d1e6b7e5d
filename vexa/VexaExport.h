#ifndef ZR_VEXA_VEXAEXPORT_H
#define ZR_VEXA_VEXAEXPORT_H

// Marks what libvexa.so shows to others; everything else stays hidden.
#define VEXA_EXPORT __attribute__((visibility("default")))

#endif  // ZR_VEXA_VEXAEXPORT_H
