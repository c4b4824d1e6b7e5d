#include "db/ZrDataAccess.h"
