#include "client/flat/response_handler.h"

namespace Orvane::PKI::OCSP::Client {

IResponseHandler::~IResponseHandler() = default;

}  // namespace Orvane::PKI::OCSP::Client
