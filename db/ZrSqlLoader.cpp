#include "db/ZrSqlLoader.h"
