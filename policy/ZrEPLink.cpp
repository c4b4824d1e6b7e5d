#include "policy/ZrEPLink.h"
