// The complete check: see checker/checker.h.
#pragma once

#include "checker/checker.h"
