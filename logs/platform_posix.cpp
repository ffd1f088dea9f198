#include "logs/platform.h"
