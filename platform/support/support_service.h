// The Support service: settings, trace output, the last error of a thread, calendar time and text conversion, as plain
// functions and records that a C compiler accepts. The library uses the machine only through this header and
// platform/crypto/crypto_service.h; another implementation of these functions can be linked instead of
// libtallow-platform.
//
// Rules that hold for every function of both headers:
//   - no exception leaves a function; a function that fails sets the last error of its thread before it returns, except
//     where its result is the error itself;
//   - every function may be called from several threads at once, on different objects;
//   - narrow text is UTF-8; a wide character is one 32-bit code point.
#pragma once

#include <stddef.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

// The integers of both services, of fixed size: 8, 16 and 32 bits. BOOL is 0 or not; text types end in a terminator.
typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef unsigned int DWORD;
typedef unsigned int UINT;
typedef int LONG;
typedef int BOOL;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef wchar_t* LPWSTR;
typedef const wchar_t* LPCWSTR;

// The constants of both headers are macros: C has no other constant of 32 unsigned bits.
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// General last errors and results of this header's functions; the others are in crypto_constants.h. A status made of
// one is 0x80070000 plus the number (handles/last_error.h).
//
//   FILE_NOT_FOUND            an absent file, settings key or store
//   TOO_MANY_OPEN_FILES       no file descriptor is left: the result is unknown, not "absent"
//   ACCESS_DENIED             a file or directory that exists but may not be read
//   INVALID_HANDLE            a key or hash handle other than 0
//   NOT_ENOUGH_MEMORY         exhausted memory in an exchange
//   BAD_FORMAT                the settings file is broken; support_settings_error explains it
//   INVALID_DATA              a value of another type, or text that is not in the expected form
//   INVALID_PARAMETER         a null or impossible argument
//   INSUFFICIENT_BUFFER       text conversion: the target is too small
//   MORE_DATA                 the second step of a read: the buffer is too small, and the size needed was written
//   NO_MORE_ITEMS             the end of an enumeration
//   NO_UNICODE_TRANSLATION    text conversion with ..._ERR_INVALID_CHARS: invalid input
#define ERROR_SUCCESS 0U
#define ERROR_FILE_NOT_FOUND 2U
#define ERROR_TOO_MANY_OPEN_FILES 4U
#define ERROR_ACCESS_DENIED 5U
#define ERROR_INVALID_HANDLE 6U
#define ERROR_NOT_ENOUGH_MEMORY 8U
#define ERROR_BAD_FORMAT 11U
#define ERROR_INVALID_DATA 13U
#define ERROR_NOT_SUPPORTED 50U
#define ERROR_INVALID_PARAMETER 87U
#define ERROR_INSUFFICIENT_BUFFER 122U
#define ERROR_MORE_DATA 234U
#define ERROR_NO_MORE_ITEMS 259U
#define ERROR_INVALID_FLAGS 1004U
#define ERROR_NO_UNICODE_TRANSLATION 1113U

// ---- Last error ----------------------------------------------------------------------------------------------------

// The last error of the calling thread: 0 before the first failure. A call that succeeds does not change it, unless its
// description says otherwise, so read it only after a call whose result shows a failure, and before any other call.
TALLOW_EXPORT DWORD GetLastError(void);
// Sets it for the calling thread, for implementations and tests.
TALLOW_EXPORT void SetLastError(DWORD code);

// ---- fork ----------------------------------------------------------------------------------------------------------

// Between these two calls, fork() in another thread waits, for at most one second. Code of the library that takes a
// lock of its own makes them around it, so that no child inherits a lock whose owner it lacks. They nest.
TALLOW_EXPORT void support_fork_gate_enter(void);
TALLOW_EXPORT void support_fork_gate_leave(void);

// ---- Settings ------------------------------------------------------------------------------------------------------

// The settings are one TOML file, read whole on first use and kept: /etc/tallow/settings.toml, or the file given to
// support_settings_open. The path "\config\cades\ocsppolicy\NonceLength" names the value NonceLength of the table
// [config.cades.ocsppolicy]; names are compared exactly. A missing default file is an empty one.
//
// A file that cannot be read, does not parse, or that users other than root and the user of the process may write is
// never treated as empty. While it is in force, every read fails with ERROR_BAD_FORMAT, except that the size queries
// of the two text reads succeed with size 0 and their second step fails: callers take a failing size query for an
// absent key, and would use defaults. When only memory or a descriptor was missing, the read after such a second
// step reads the file again.

// Reads the file `path` (UTF-8) and replaces the settings in force with it, for the whole process; null names the
// default file. Returns 0, or an error (ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_BAD_FORMAT), which
// support_settings_error then explains; the failed file stays in force as a broken one. Values read earlier do not
// change.
TALLOW_EXPORT int support_settings_open(const char* path);

// What is wrong with the settings file in force.
typedef struct SUPPORT_SETTINGS_ERROR_ {
    int code;             // 0: no error; the other fields are 0 and empty
    unsigned int line;    // from 1; 0 when the file could not be read
    unsigned int column;  // from 1; 0 when the file could not be read
    char message[512];    // "path:line:column: reason", one line, terminated, cut if need be
} SUPPORT_SETTINGS_ERROR;

// Fills `error` for the settings in force (which it loads if nothing was read yet) and returns its code: 0, or an error
// of support_settings_open. ERROR_INVALID_PARAMETER for null; ERROR_NOT_ENOUGH_MEMORY, with `error` unchanged, when
// memory is exhausted.
TALLOW_EXPORT int support_settings_error(SUPPORT_SETTINGS_ERROR* error);

// What a key of the settings file holds.
#define SUPPORT_SETTINGS_TABLE 1U
#define SUPPORT_SETTINGS_STRING 2U
#define SUPPORT_SETTINGS_STRINGS 3U  // an array of strings, which may be empty
#define SUPPORT_SETTINGS_INTEGER 4U
#define SUPPORT_SETTINGS_BOOLEAN 5U
#define SUPPORT_SETTINGS_OTHER 6U  // a value that no read returns, such as a date or an array of numbers

// One key of the settings file. The texts are valid during the call only.
typedef struct SUPPORT_SETTINGS_KEY_ {
    const char* file;     // the path of the settings file, as it was opened
    const char* path;     // as the reads take it; empty for the file itself
    unsigned int type;    // SUPPORT_SETTINGS_...
    unsigned int line;    // of the key, from 1; 0 for the file itself
    unsigned int column;  // of the key in characters, from 1; 0 for the file itself
} SUPPORT_SETTINGS_KEY;

// Called for one key. Must not throw; it may use the service.
typedef void (*PFN_SUPPORT_ON_KEY)(void* context, const SUPPORT_SETTINGS_KEY* key);

// Reports where the keys of the settings in force are, so that messages can name file and line: the key at `path`, or
// with null the file itself and then every table and value, in the order of the file. Keys within arrays are left out.
// In a path, control characters and backslashes of a name become "?", and names are cut to 100 octets, so that a name
// that no read can find never looks like another one. A file that cannot be read or parsed has no keys.
//
// Returns 0, ERROR_FILE_NOT_FOUND when there is no key at `path`, ERROR_INVALID_PARAMETER without a callback,
// ERROR_NOT_ENOUGH_MEMORY. Slower than a read: for messages only.
TALLOW_EXPORT int support_settings_keys(const char* path, PFN_SUPPORT_ON_KEY onKey, void* context);

// The four reads. A text is read in two steps:
//
//   size_t size = 0;
//   if (support_registry_get_string(path, &size, NULL) != 0) ...      // absent, or of another type
//   char* text = malloc(size + 1);
//   if (support_registry_get_string(path, &size, text) != 0) ...      // a failure: do not use a default
//
// Each returns 0, ERROR_FILE_NOT_FOUND when the key is absent, ERROR_INVALID_DATA when the value has another type,
// ERROR_INVALID_PARAMETER for a null argument, ERROR_BAD_FORMAT when the file is broken. Any result but 0 leaves the
// output unchanged. The last error is not changed.

// With `buffer` null: writes the size of the value in bytes, without terminator, to `size`. Otherwise `*size` must be
// at least that size and `buffer` must have room for one byte more; writes the value and its terminator, and the size
// of the value to `size`. ERROR_MORE_DATA when `*size` is too small.
TALLOW_EXPORT int support_registry_get_string(const char* path, size_t* size, char* buffer);
// Writes an integer of 64 bits.
TALLOW_EXPORT int support_registry_get_long(const char* path, long* value);
// A boolean, or an integer taken as 0 or not; writes 0 or 1.
TALLOW_EXPORT int support_registry_get_bool(const char* path, int* value);
// An array of strings, or one string taken as an array of one. The value is the strings in order, each with its
// terminator, and the size counts the terminators: 0 for an empty array. The sizes work as for a string; the extra
// byte receives another terminator. A string that contains a zero byte is ERROR_INVALID_DATA.
TALLOW_EXPORT int support_registry_get_multi_string(const char* path, size_t* size, char* buffer);

// ---- Trace ---------------------------------------------------------------------------------------------------------

// Trace lines go to standard error, or to the file `file` of the table [trace], when `enabled` is true there. The
// levels written are the bits of `levels` (default 127, so level 8 is included).

typedef struct TSupportDbContext_ TSupportDbContext_;

// Opens the trace of the module `name`; all calls with one name return the same context. `reserved` is 0. `first` and
// `second` are the lowest and the highest level that the module will use. Returns null when memory is exhausted. The
// context follows the settings in force. Reads nothing, so it can be called while a library is being loaded.
TALLOW_EXPORT TSupportDbContext_* support_print_init(unsigned int reserved, const char* name, unsigned int first,
                                                     unsigned int second);
// Closes a context; null is accepted. Other threads may still use it, and it stays valid: a library closes its own when
// the process ends, perhaps among their calls.
TALLOW_EXPORT void support_print_done(TSupportDbContext_* context);
// Non-zero when lines of `level` are written. Cheap: two loads when the trace is off. Null gives 0.
TALLOW_EXPORT int support_print_is(TSupportDbContext_* context, unsigned int level);
// Writes one line: time, module, `function`, `line`, and the text made of `format` and the arguments after `function`,
// in one write, so that lines of several threads never mix. Control characters in the text are written as \xNN, and a
// missing line feed is added. The last error is not changed.
TALLOW_EXPORT void support_dprint_print_(TSupportDbContext_* context, const char* format, const char* file, int line,
                                         const char* function, ...) __attribute__((format(printf, 2, 6)));

// Turns the trace on for this process, whatever the settings say: to the file `path` (appended to), or to standard
// error when null, with the levels of the mask `levels`; 0 returns to the settings. Returns 0, or the error from
// opening the file.
TALLOW_EXPORT int support_trace_open(unsigned int levels, const char* path);

// ---- Time ----------------------------------------------------------------------------------------------------------

// A count of 100-nanosecond ticks since 1601-01-01 00:00:00 UTC.
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

// Calendar fields in UTC.
typedef struct _SYSTEMTIME {
    WORD wYear;       // 1601 to 30827
    WORD wMonth;      // 1 to 12
    WORD wDayOfWeek;  // 0 is Sunday
    WORD wDay;        // 1 to 31
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

// Calendar fields of a time, UTC. Returns FALSE with ERROR_INVALID_PARAMETER for a null argument or a count with the
// top bit set.
TALLOW_EXPORT BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime);
// The reverse; `wDayOfWeek` is not read. Returns FALSE with ERROR_INVALID_PARAMETER for a null argument and for fields
// that are not a valid date or time of day; `fileTime` is then unchanged.
TALLOW_EXPORT BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime);
// The current time of the system's clock, in UTC. Null is not accepted. Cannot fail.
TALLOW_EXPORT void GetSystemTimeAsFileTime(FILETIME* fileTime);

// ---- Text ----------------------------------------------------------------------------------------------------------

// Code pages of the text conversion.
#define CP_ACP 0U  // the same as CP_UTF8 here
#define CP_UTF8 65001U

// Flags of the text conversion: fail for invalid input instead of writing U+FFFD.
#define MB_ERR_INVALID_CHARS 0x00000008U
#define WC_ERR_INVALID_CHARS 0x00000080U

// Converts `sizeSource` units of `source` (octets of narrow text, characters of wide text), or up to and including its
// terminator when `sizeSource` is -1; a terminator is written only if it was part of the source. With `sizeTarget` 0
// nothing is written and the result is the number of units needed; else the result is the number written. Source and
// target must not overlap. Without the flag ..._ERR_INVALID_CHARS invalid input becomes U+FFFD, one for each maximal
// part that cannot begin a character.
//
// Returns 0 on failure, with the last error
//   ERROR_INSUFFICIENT_BUFFER       the target is too small; its content is then undefined
//   ERROR_INVALID_PARAMETER         another code page, a size of 0 or below -1, a null pointer with a size, a default
//                                   character
//   ERROR_INVALID_FLAGS             a flag that is not known
//   ERROR_NO_UNICODE_TRANSLATION    with the flag, input that is not UTF-8 or not a code point
TALLOW_EXPORT int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sizeSource, wchar_t* target,
                                      int sizeTarget);
TALLOW_EXPORT int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* source, int sizeSource, char* target,
                                      int sizeTarget, const char* defaultChar, BOOL* usedDefaultChar);

#ifdef __cplusplus
}  // extern "C"

static_assert(sizeof(FILETIME) == 8);
static_assert(sizeof(SYSTEMTIME) == 16);
static_assert(sizeof(long) == 8, "settings hold 64-bit integers");
static_assert(sizeof(wchar_t) == 4);
#endif
