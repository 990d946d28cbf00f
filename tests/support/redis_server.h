// A real redis-server on a free port of 127.0.0.1, which keeps nothing on disk, and ends with the object.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace testkit {

class RedisServer {
public:
    struct Options {
        std::string password = "";           // of the default user; empty: none
        const Identity* tls = nullptr;       // speaks TLS with this certificate
        std::vector<std::string> more = {};  // words of the configuration
    };

    RedisServer() : RedisServer(Options()) {}
    explicit RedisServer(const Options& options);

    /// Tests are skipped without the program.
    static bool isInstalled();

    int port() const { return port_; }
    /// "redis://127.0.0.1:PORT/0", or rediss.
    std::string url() const;

    /// Sends a signal to the server: SIGSTOP, SIGCONT, SIGKILL.
    void signal(int number) const;

private:
    TempDir folder_;
    bool usesTls_ = false;
    int port_ = 0;
    std::unique_ptr<BackgroundProcess> process_;
};

}  // namespace testkit
