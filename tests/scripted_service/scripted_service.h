// A platform that plays a script: in a program that links tallow_scripted_service, the services' functions ask the
// object that is alive at the moment.
//
//   Script service;                                   // every call must be in the script
//   testing::InSequence order;
//   EXPECT_CALL(service, CertDuplicateStore(given)).WillOnce(failing(nullptr, ERROR_NOT_ENOUGH_MEMORY));
//
//   Overlay service;                                  // the real platform answers, but for ...
//   EXPECT_CALL(service, SendPKIRequest).WillOnce(Return(503));
//
// A call that is not in the script fails the test by name, and so does a script that was not played to its end. A call
// while no object is alive fails too; only the trace calls that load and unload of the library make are let through.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "platform/crypto/crypto_service.h"

namespace testkit {

class ScriptedService {
public:
    ScriptedService();
    virtual ~ScriptedService();
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

#define SCRIPTED(result, name, parameters, arguments) MOCK_METHOD(result, name, parameters);
#include "tests/scripted_service/service_functions.inc"
#undef SCRIPTED
    /// One trace line: the function's label and the text as formatted.
    MOCK_METHOD(void, trace, (const std::string& function, const std::string& text));

    /// Lets the platform behind the script answer whatever has no expectation. The program must link it as a shared
    /// library.
    void answerByPlatform();
};

using Script = testing::StrictMock<ScriptedService>;

class Overlay : public testing::NiceMock<ScriptedService> {
public:
    Overlay() { answerByPlatform(); }
};

/// Sets the last error and answers with `result`.
template <class Result>
auto failing(Result result, DWORD lastError) {
    return testing::DoAll(testing::InvokeWithoutArgs([lastError] { SetLastError(lastError); }),
                          testing::Return(result));
}

}  // namespace testkit
