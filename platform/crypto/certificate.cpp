#include "platform/crypto/certificate.h"
