#include "policy/ZrEntityType.h"

const char* const g_rule_entity[7] = {"DEFAULT", "USER", "GROUP", "HOSTNAME", "IP", "IP_RANGE", "OTHER"};
