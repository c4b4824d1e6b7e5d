#include "policy/ZrPolicyResultSet.h"
