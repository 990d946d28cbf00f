// A client of Redis servers for programs that share work between machines. Optional: the library does not call it, and
// another implementation of the services may lack it.
//
//   CRYPTO_REDIS_SERVER server = {sizeof server, "redis://127.0.0.1:6379/0", "", "", ""};
//   CRYPTO_REDIS* redis = crypto_redis_open(&server);
//   if (redis != NULL && crypto_redis_ask(redis, words, 2, 5000, 4096, &reply)) { ... }
//   crypto_redis_close(redis);
#pragma once

#include "export.h"
#include "platform/crypto/crypto_constants.h"
#include "platform/crypto/crypto_records.h"

#ifdef __cplusplus
extern "C" {
#endif

// A server and the login at it. No text is null.
typedef struct _CRYPTO_REDIS_SERVER {
    DWORD cbSize;
    // redis://HOST:PORT/DATABASE, or rediss:// over TLS; without a login.
    LPCSTR szUrl;
    // Empty: the default user.
    LPCSTR szUser;
    // A file that only root or the user of the process can write, and others cannot read; empty: no login.
    LPCSTR szPasswordFile;
    // Roots in PEM for TLS; empty: the setting system_bundle.
    LPCSTR szCaFile;
} CRYPTO_REDIS_SERVER;

#define CRYPTO_REDIS_NOTHING 0
#define CRYPTO_REDIS_INTEGER 1
#define CRYPTO_REDIS_TEXT 2
#define CRYPTO_REDIS_STATUS 3
#define CRYPTO_REDIS_ERROR 4
#define CRYPTO_REDIS_ARRAY 5

// A reply. What the server sent is not trusted: texts may contain any octet, and lists have any length up to 65536.
typedef struct _CRYPTO_REDIS_VALUE {
    DWORD dwKind;  // CRYPTO_REDIS_...
    DWORD cbText;
    const char* pbText;                         // of a TEXT, STATUS or ERROR; cbText octets
    long long iValue;                           // of an INTEGER
    const struct _CRYPTO_REDIS_VALUE* rgValue;  // of an ARRAY
    DWORD cValue;
} CRYPTO_REDIS_VALUE;

// One connection. A handle may be used by one thread at a time. A child of fork that uses it connects anew.
typedef struct _CRYPTO_REDIS CRYPTO_REDIS;

// Makes a handle; connects when it is first used. Null with the last error set for unusable parameters: E_INVALIDARG,
// E_OUTOFMEMORY. A server that cannot be used is a failure of crypto_redis_ask.
TALLOW_EXPORT CRYPTO_REDIS* crypto_redis_open(const CRYPTO_REDIS_SERVER* pServer);
// Sends a command and waits for its reply, `dwTimeout` milliseconds at most with name, connection, TLS and login.
// `cbLargest` is the length that the reply may have, in octets of the protocol, and thus what a hostile server can make
// this connection cost, about three times: choose the least that the command needs, and 4096 for a number, a status or
// an error. `*ppReply` is valid until the next call for the handle but crypto_redis_fault; it may be an ERROR of the
// server.
// FALSE when there is no reply: crypto_redis_fault says why, and the next call connects again. The last error is then
// ERROR_MORE_DATA for a reply with more octets or elements than permitted; ERROR_INTERNET_CANNOT_CONNECT for every
// other failure of the server, and E_INVALIDARG for unusable parameters or what crypto_redis_fault said before the
// first call. Whether the server has carried out the command is not known.
TALLOW_EXPORT BOOL crypto_redis_ask(CRYPTO_REDIS* pRedis, const CRYPT_DATA_BLOB* rgWord, DWORD cWord, DWORD dwTimeout,
                                    DWORD cbLargest, const CRYPTO_REDIS_VALUE** ppReply);
// Frees the reply of the last call, so that a handle which is kept for later takes no memory for it. Null is accepted.
TALLOW_EXPORT void crypto_redis_release(CRYPTO_REDIS* pRedis);
// Why the last call of crypto_redis_ask failed, in one line without secrets and without text of the server; empty when
// it did not. Before the first one: what is wrong with the address or a file, which makes every call fail. Valid until
// the next call of crypto_redis_ask for the handle.
TALLOW_EXPORT LPCSTR crypto_redis_fault(CRYPTO_REDIS* pRedis);
// Null is accepted.
TALLOW_EXPORT void crypto_redis_close(CRYPTO_REDIS* pRedis);

#ifdef __cplusplus
}  // extern "C"
#endif
