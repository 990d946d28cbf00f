// Everything that a program needs to ask whether certificates are still good:
//
//   #include <tallow/tallow.h>
//
// C++ gets the classes: CRequest (make and send a request), CResponse (read a response), CVerifyingResponseHandler (the
// verdict), the policies, and owners for certificates and stores. Start with tallow/client/request/request.h. Values of
// single ASN.1 types have headers of their own below tallow/asn1 and tallow/message.
//
// C gets the plain functions of tallow/client/flat/ocsp_client.h, and the two services: the first makes the
// certificates and stores that these functions take, the second opens the settings file.
#pragma once

#include "client/flat/ocsp_client.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

#ifdef __cplusplus
#include "client/flat/response_handler.h"
#include "client/flat/verifying_response_handler.h"
#include "client/policy/request_policy.h"
#include "client/policy/response_policy.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "foundation/blob.h"
#include "handles/cert_chain_context.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#endif
