#include "config/ConfigFile.h"
