// A platform that plays a script: in a program that links tallow_scripted_service, the services' functions call the
// ScriptedService that currently exists.
//
//   Script service;                                   // every call must be in the script
//   testing::InSequence order;
//   EXPECT_CALL(service, CertDuplicateStore(given)).WillOnce(failing(nullptr, ERROR_NOT_ENOUGH_MEMORY));
//
//   Overlay service;                                  // the real platform answers, except for ...
//   EXPECT_CALL(service, SendPKIRequest).WillOnce(Return(503));
//
// A call that is not in the script fails the test and is named, and so does an expected call that never came. A call
// while no ScriptedService exists fails too, except the trace calls made while the library is loaded and unloaded.
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

    /// Passes calls without an expectation on to the real platform. The program must link it as a shared library.
    void answerByPlatform();
};

using Script = testing::StrictMock<ScriptedService>;

class Overlay : public testing::NiceMock<ScriptedService> {
public:
    Overlay() { answerByPlatform(); }
};

/// A chain context of so many chains, the first with so many elements, none of which may be read.
struct ScriptedChain {
    ScriptedChain(DWORD chains, DWORD elements) {
        context.cChain = chains;
        context.rgpChain = &first;
        simple.cElement = elements;
    }
    ScriptedChain(const ScriptedChain&) = delete;
    ScriptedChain& operator=(const ScriptedChain&) = delete;

    /// The action of CertGetCertificateChain that gives it.
    auto asResult() const { return testing::DoAll(testing::SetArgPointee<7>(&context), testing::Return(TRUE)); }

    CERT_CHAIN_CONTEXT context{};
    CERT_SIMPLE_CHAIN simple{};
    CERT_SIMPLE_CHAIN* first = &simple;
};

/// An action that sets the last error and returns `result`.
template <class Result>
auto failing(Result result, DWORD lastError) {
    return testing::DoAll(testing::InvokeWithoutArgs([lastError] { SetLastError(lastError); }),
                          testing::Return(result));
}

}  // namespace testkit
