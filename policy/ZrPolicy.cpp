#include "policy/ZrPolicy.h"
