// What is exchanged before TLS. The server's octets may be hostile: everything that is read has a limit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tallow::cli {

/// A connection that is not yet secure.
class Wire {
public:
    Wire() = default;
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;
    virtual ~Wire() = default;

    /// At least one octet of what arrived; 0 at the end. Throws ServerFailure.
    virtual std::size_t receive(char* octets, std::size_t size) = 0;
    /// All of it. Throws ServerFailure.
    virtual void send(std::string_view octets) = 0;
};

/// Reads lines and octets from a wire: 64 KiB, 64 lines, 4 KiB a line. Throws ServerFailure beyond these limits and
/// when the server ends the connection.
class PlainText {
public:
    /// `wire` must live longer than this object.
    explicit PlainText(Wire& wire) : wire_(wire) {}

    void send(std::string_view octets) { wire_.send(octets); }
    /// Without its end, LF or CR LF.
    std::string line();
    /// Exactly so many.
    std::string octets(std::size_t count);
    char octet() { return octets(1).front(); }

    /// To be called after the server's go-ahead for TLS. Throws ServerFailure when more arrived with it: an attacker on
    /// the network may have inserted it, and it must not be taken for data of the server.
    void requireNothingLeft() const;

private:
    void receiveMore();

    Wire& wire_;
    std::string buffer_;  // not read yet
    std::size_t received_ = 0;
    std::size_t numLines_ = 0;
};

}  // namespace tallow::cli
