// What a Trust holds. Private to the library.
#pragma once

#include <vector>

#include "checker/checker.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"

namespace tallow {

struct TALLOW_HIDDEN Trust::Impl {
    std::vector<ATL2::CCertContext> roots;
    std::vector<ATL2::CCertContext> certificates;  // intermediates
    std::vector<Bytes> crls;
    bool isSystem = false;
};

/// A new memory store. Throws std::bad_alloc, and ATL::CAtlException when the service refuses.
ATL2::CCertStore memoryStore();

/// Adds the certificate unless it is there already.
void add(const ATL2::CCertStore& store, const ATL2::CCertContext& certificate);

}  // namespace tallow
