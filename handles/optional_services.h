// Functions that another implementation of the services may lack. The library links them weakly, so that their
// addresses are null then, and compares these with null before each call.
#pragma once

#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

#ifndef TALLOW_STATIC_PLATFORM
#pragma weak crypto_begin_check
#pragma weak crypto_check_time_left
#pragma weak crypto_end_check
#pragma weak crypto_forget_response
#pragma weak support_fork_gate_enter
#pragma weak support_fork_gate_leave
#pragma weak support_settings_error
#pragma weak support_settings_keys
#else
// The linker takes nothing out of an archive for a weak reference: a static program would silently lack what these
// functions protect. Our own services have them all.
#pragma GCC diagnostic ignored "-Waddress"
#endif
