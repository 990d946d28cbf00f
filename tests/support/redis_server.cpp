#include "tests/support/redis_server.h"

#include <signal.h>

#include "tests/support/http_server.h"

namespace testkit {

RedisServer::RedisServer(const Options& options) : usesTls_(options.tls != nullptr), port_(closedPort()) {
    const std::string port = std::to_string(port_);
    std::vector<std::string> command{
        "redis-server",      "--bind", "127.0.0.1",          "--save", "", "--dir", folder_.file(""), "--pidfile",
        folder_.file("pid"), "--port", usesTls_ ? "0" : port};
    const auto add = [&command](std::vector<std::string> words) {
        command.insert(command.end(), words.begin(), words.end());
    };
    if (!options.password.empty()) {
        add({"--requirepass", options.password});
    }
    if (usesTls_) {
        add({"--tls-port", port, "--tls-auth-clients", "no", "--tls-cert-file",
             folder_.write("server.pem", options.tls->certificatePem()), "--tls-key-file",
             folder_.write("key.pem", options.tls->key.pem())});
    }
    add(options.more);
    process_ = std::make_unique<BackgroundProcess>(command, folder_.file("log"));
    process_->waitForOutput("Ready to accept connections", 30000);
}

bool RedisServer::isInstalled() {
    return run({"redis-server", "--version"}).exitStatus == 0;
}

std::string RedisServer::url() const {
    return (usesTls_ ? "rediss" : "redis") + std::string("://127.0.0.1:") + std::to_string(port_) + "/0";
}

void RedisServer::signal(int number) const {
    const Bytes pid = readFile(folder_.file("pid"));
    ::kill(std::stoi(std::string(pid.begin(), pid.end())), number);
}

}  // namespace testkit
