#include "bench/material.h"

#include <stdexcept>

#include "platform/support/support_service.h"
#include "tests/support/temp_dir.h"

namespace bench {

namespace {

testkit::CertificateSpec specOf(const char* name) {
    testkit::CertificateSpec spec;
    spec.commonName = name;
    spec.key = testkit::Key::make(testkit::KeyKind::kRsa2048);
    return spec;
}

void trust(const testkit::Identity& root) {
    static const testkit::TempDir folder;
    folder.write("stores/ROOT/root.pem", root.certificatePem());
    const std::string settings = "[crypto]\nsystem_roots = false\nmachine_stores = \"" + folder.file("stores") +
                                 "\"\nuser_stores = \"" + folder.file("user") + "\"\n";
    if (support_settings_open(folder.write("settings.toml", settings).c_str()) != 0) {
        throw std::runtime_error("the settings were not read");
    }
}

Material make() {
    Material material;
    testkit::CertificateSpec root = specOf("bench root");
    root.ca = true;
    material.root = testkit::selfSigned(root);
    material.leaf = testkit::issue(material.root, specOf("leaf"));
    testkit::CertificateSpec responder = specOf("responder");
    responder.extendedKeyUsage = "OCSPSigning";
    responder.keyUsage = "critical,digitalSignature";
    responder.ocspNoCheck = true;
    material.responder = testkit::issue(material.root, responder);
    trust(material.root);
    return material;
}

}  // namespace

const Material& Material::shared() {
    static const Material material = make();
    return material;
}

testkit::Bytes Material::response(unsigned count) const {
    testkit::ResponseSpec spec(responder);
    testkit::CertIdSpec id = testkit::certIdOf(leaf, root);
    spec.entries.emplace_back(id);
    for (unsigned i = 1; i < count; ++i) {
        id.serial = {0x10,
                     static_cast<std::uint8_t>(i >> 16),
                     static_cast<std::uint8_t>(i >> 8),
                     static_cast<std::uint8_t>(i),
                     0x55,
                     0x66,
                     0x77,
                     0x11};
        spec.entries.emplace_back(id);
    }
    return testkit::buildResponse(spec);
}

}  // namespace bench
