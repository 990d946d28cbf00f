// The complete check for C: see checker/checker_c.h.
#pragma once

#include "checker/checker_c.h"
