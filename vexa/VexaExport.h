#pragma once

// Marks what libvexa.so shows to others; everything else stays hidden.
#define VEXA_EXPORT __attribute__((visibility("default")))
