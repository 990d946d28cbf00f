#include "handles/crypto_handles.h"

#include <gtest/gtest.h>

#include <utility>

#include "handles/cert_chain_context.h"
#include "tests/scripted_service/scripted_service.h"

namespace {

using testing::Return;
using testkit::Script;

TEST(CryptHandles, AreReleasedOnce) {
    Script service;
    EXPECT_CALL(service, CryptReleaseContext(7, 0)).WillOnce(Return(TRUE));
    EXPECT_CALL(service, CryptDestroyHash(9)).WillOnce(Return(TRUE));
    ATL::CCryptProv first(7);
    ATL::CCryptProv second(std::move(first));
    first = std::move(second);
    const ATL::CCryptHash hash(9);
    ATL::CCryptProv given(6);
    EXPECT_EQ(given.detach(), 6U);
    const CERT_CHAIN_CONTEXT chains[2] = {};
    EXPECT_CALL(service, CertFreeCertificateChain(&chains[0]));
    EXPECT_CALL(service, CertFreeCertificateChain(&chains[1]));
    ATL2::CCertChainContext chain(&chains[0]);
    ATL2::CCertChainContext moved(std::move(chain));
    *moved.put() = &chains[1];
}

TEST(CryptHandles, KeepsAProviderThatCannotBeReleased) {
    Script service;
    EXPECT_CALL(service, CryptReleaseContext(7, 0)).WillOnce(Return(FALSE)).WillOnce(Return(TRUE));
    ATL::CCryptProv provider;
    *provider.put() = 7;
    provider.reset();
    EXPECT_EQ(provider.get(), 7U);
    provider.reset();
    EXPECT_FALSE(provider);
    EXPECT_CALL(service, CryptDestroyKey(8)).WillOnce(Return(FALSE));
    ATL::CCryptKey key(8);
    key.reset();
    EXPECT_FALSE(key);
}

}  // namespace
