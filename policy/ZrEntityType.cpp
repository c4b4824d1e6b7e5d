#include "policy/ZrEntityType.h"
