// What the tests of the value classes share: blobs, statuses by name and a writer of TLVs.
#pragma once

#include <gmock/gmock.h>

#include "handles/status.h"
#include "tests/support/blobs.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"
