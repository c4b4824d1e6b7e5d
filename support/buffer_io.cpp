#include "support/buffer_io.h"
