#include "policy/ZrPolicyCache.h"
