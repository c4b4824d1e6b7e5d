#include "db/ZrDbConnect.h"
