#include "support/base64.h"
