// The exceptions that leave the public classes: ATL::CAtlException, and whatever a caller's own handlers throw.
//
//   void CRequest::Import(unsigned char const* data, unsigned long size) try {
//       ...
//   } catch (...) {
//       ASN1::rethrowAsStatus();
//   }
#pragma once

namespace Orvane::ASN1 {

/// Call it from a handler that catches everything. Exhausted memory is thrown again as kOutOfMemory and the runtime's
/// own exceptions as kAsn1Error, both in ATL::CAtlException; any other exception is thrown again as it is.
[[noreturn]] void rethrowAsStatus();

}  // namespace Orvane::ASN1
