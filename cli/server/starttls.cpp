#include "cli/server/starttls.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

// What the server said, cut to a readable length; control characters are escaped where it is printed.
std::string quoted(std::string_view said) {
    constexpr std::size_t kLongest = 200;
    std::string text(said.substr(0, kLongest));
    std::replace(text.begin(), text.end(), '\0', ' ');  // would end the message
    return '"' + text + (said.size() > kLongest ? "...\"" : "\"");
}

[[noreturn]] void refused(std::string_view said) {
    throw ServerFailure(status::kHttpForbidden,
                        "the server refuses TLS: " + quoted(said) + "; enable TLS on the server, or check the port");
}

[[noreturn]] void notOffered() {
    throw ServerFailure(status::kHttpForbidden,
                        "the server does not offer TLS; enable it on the server, or check the port");
}

[[noreturn]] void notUnderstood(const std::string& said) {
    throw ServerFailure(status::kInvalidData, "the server does not speak this protocol (it says " + quoted(said) +
                                                  "); check the port and the protocol (--starttls)");
}

// Big-endian.
std::size_t numberIn(std::string_view octets) {
    constexpr int kOctet = 8;
    std::size_t number = 0;
    for (const char octet : octets) {
        number = (number << kOctet) | static_cast<unsigned char>(octet);
    }
    return number;
}

// ---- Protocols of lines ---------------------------------------------------------------------------------------------

bool isEqualWithoutCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

bool beginsWith(std::string_view line, std::string_view word) {
    return isEqualWithoutCase(line.substr(0, word.size()), word) &&
           (line.size() == word.size() || line[word.size()] == ' ');
}

// A reply of SMTP or FTP: lines "250-text", the last one "250 text" (RFC 5321, 4.2.1; RFC 959, 4.2).
struct Reply {
    std::string code;
    std::vector<std::string> lines;

    void require(std::string_view expected) const {
        if (code != expected) {
            refused(lines.front());
        }
    }
};

Reply readReply(PlainText& server) {
    constexpr std::size_t kCode = 3;
    Reply reply;
    std::string line = server.line();
    reply.code = line.substr(0, kCode);
    const bool isCode = reply.code.size() == kCode && std::all_of(reply.code.begin(), reply.code.end(),
                                                                  [](unsigned char c) { return std::isdigit(c); });
    if (!isCode || (line.size() > kCode && line[kCode] != ' ' && line[kCode] != '-')) {
        notUnderstood(line);
    }
    const bool hasMore = line.size() > kCode && line[kCode] == '-';
    reply.lines.push_back(line);
    while (hasMore && !beginsWith(line, reply.code)) {
        line = server.line();
        reply.lines.push_back(line);
    }
    return reply;
}

// RFC 3207.
void smtp(PlainText& server, const std::string& /*host*/) {
    constexpr std::size_t kKeyword = 4;  // after "250-"
    readReply(server).require("220");
    server.send("EHLO localhost\r\n");
    const Reply extensions = readReply(server);
    extensions.require("250");
    if (std::none_of(extensions.lines.begin(), extensions.lines.end(), [](const std::string& line) {
            return line.size() > kKeyword && beginsWith(std::string_view(line).substr(kKeyword), "STARTTLS");
        })) {
        notOffered();
    }
    server.send("STARTTLS\r\n");
    readReply(server).require("220");
}

// RFC 4217, section 4.
void ftp(PlainText& server, const std::string& /*host*/) {
    readReply(server).require("220");
    server.send("AUTH TLS\r\n");
    readReply(server).require("234");
}

// RFC 9051, 6.2.1; RFC 2595, section 3.
void imap(PlainText& server, const std::string& /*host*/) {
    const std::string greeting = server.line();
    if (!greeting.starts_with("* ")) {
        notUnderstood(greeting);
    }
    if (!beginsWith(std::string_view(greeting).substr(2), "OK")) {
        refused(greeting);  // a session that is authenticated already cannot change to TLS
    }
    server.send("a1 STARTTLS\r\n");
    std::string line = server.line();
    while (line.starts_with("* ")) {
        line = server.line();
    }
    if (!line.starts_with("a1 ")) {
        notUnderstood(line);
    }
    if (!beginsWith(std::string_view(line).substr(3), "OK")) {
        refused(line);
    }
}

// RFC 2595, section 4.
void pop3(PlainText& server, const std::string& /*host*/) {
    const auto requireOk = [&server] {
        const std::string line = server.line();
        if (beginsWith(line, "-ERR")) {
            refused(line);
        }
        if (!beginsWith(line, "+OK")) {
            notUnderstood(line);
        }
    };
    requireOk();
    server.send("STLS\r\n");
    requireOk();
}

// ---- LDAP (RFC 4511, 4.12 and 4.14) ---------------------------------------------------------------------------------

constexpr char kSequence = 0x30;
constexpr char kInteger = 0x02;
constexpr char kOctetString = 0x04;
constexpr char kEnumerated = 0x0A;
constexpr char kExtendedResponse = 0x78;

constexpr unsigned char kLongForm = 0x80;  // of a length: this many further octets hold it
constexpr std::size_t kMostOctetsOfLength = 4;

// How many octets of length follow the second octet of an element.
std::size_t sizeOfLongForm(const std::string& element) {
    const auto octet = static_cast<unsigned char>(element[1]);
    if (octet == kLongForm || octet > kLongForm + kMostOctetsOfLength) {
        notUnderstood(element);
    }
    return octet > kLongForm ? octet - kLongForm : 0;
}

// Cuts one element of this tag off a text in BER, and returns its content.
std::string_view takeElement(std::string_view& text, char tag) {
    const std::string whole(text);
    if (whole.size() < 2 || whole[0] != tag) {
        notUnderstood(whole);
    }
    const std::size_t size = sizeOfLongForm(whole);
    const std::size_t length = size == 0 ? numberIn(text.substr(1, 1)) : numberIn(text.substr(2, size));
    if (size > text.size() - 2 || length > text.size() - 2 - size) {
        notUnderstood(whole);
    }
    const std::string_view content = text.substr(2 + size, length);
    text.remove_prefix(2 + size + length);
    return content;
}

// One whole message, as long as its header says.
std::string readMessage(PlainText& server) {
    std::string message = server.octets(2);
    if (message[0] != kSequence) {
        notUnderstood(message);
    }
    const std::string length = server.octets(sizeOfLongForm(message));
    return message + length + server.octets(numberIn(length.empty() ? message.substr(1) : length));
}

void ldap(PlainText& server, const std::string& /*host*/) {
    // LDAPMessage { messageID 1, extendedReq { requestName 1.3.6.1.4.1.1466.20037 } }
    constexpr std::string_view kRequest(
        "\x30\x1D\x02\x01\x01\x77\x18\x80\x16"
        "1.3.6.1.4.1.1466.20037");
    server.send(kRequest);
    const std::string message = readMessage(server);
    std::string_view rest = message;
    std::string_view parts = takeElement(rest, kSequence);
    const std::string_view id = takeElement(parts, kInteger);
    std::string_view response = takeElement(parts, kExtendedResponse);
    const std::string_view result = takeElement(response, kEnumerated);
    takeElement(response, kOctetString);  // matchedDN
    const std::string_view diagnostic = takeElement(response, kOctetString);
    if (result.size() != 1) {
        notUnderstood(message);
    }
    if (result.front() != 0) {
        refused("result " + std::to_string(static_cast<unsigned char>(result.front())) + " " + std::string(diagnostic));
    }
    if (id != std::string_view("\x01")) {
        notUnderstood(message);  // a notice, not an answer
    }
}

// ---- XMPP (RFC 6120, section 5.4) -----------------------------------------------------------------------------------

// One tag of XML.
struct Tag {
    std::string text;      // between < and >
    std::string name;      // without its prefix; "/name" of an end tag
    bool isEmpty = false;  // <name/>
};

// Characters between tags are skipped: the answers looked for contain none.
Tag readTag(PlainText& server) {
    while (server.octet() != '<') {
    }
    Tag tag;
    char quote = 0;
    for (char c = server.octet(); quote != 0 || c != '>'; c = server.octet()) {
        if (quote != 0) {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        }
        tag.text += c;
    }
    if (tag.text.starts_with('!')) {
        notUnderstood(tag.text);  // comments and document types are not permitted (11.1)
    }
    tag.isEmpty = tag.text.ends_with('/');
    const bool isEnd = tag.text.starts_with('/');
    const std::string name = tag.text.substr(isEnd ? 1 : 0, tag.text.find_first_of(" \t\r\n/", 1) - (isEnd ? 1 : 0));
    tag.name = (isEnd ? "/" : "") + name.substr(name.find(':') + 1);
    return tag;
}

void xmpp(PlainText& server, const std::string& host) {
    constexpr const char* kNamespace = "urn:ietf:params:xml:ns:xmpp-tls";
    const auto isOfTls = [&](const Tag& tag, const char* name) {
        return tag.name == name && tag.text.find(kNamespace) != std::string::npos;
    };
    server.send(
        "<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
        "xmlns:stream='http://etherx.jabber.org/streams' version='1.0' to='" +
        host + "'>");
    bool isOffered = false;
    Tag tag = readTag(server);
    while (tag.name != "/features" && !(tag.name == "features" && tag.isEmpty)) {
        if (tag.name == "error" || tag.name == "/stream") {
            refused(tag.name == "error" ? readTag(server).text : tag.text);
        }
        isOffered = isOffered || isOfTls(tag, "starttls");
        tag = readTag(server);
    }
    if (!isOffered) {
        notOffered();
    }
    server.send(std::string("<starttls xmlns='") + kNamespace + "'/>");
    tag = readTag(server);
    if (!isOfTls(tag, "proceed")) {
        refused(tag.text);
    }
    if (!tag.isEmpty && (tag = readTag(server)).name != "/proceed") {
        notUnderstood(tag.text);
    }
}

// ---- Databases ------------------------------------------------------------------------------------------------------

// The message in an ErrorResponse of PostgreSQL: fields of a letter and a text, each with a NUL at its end.
std::string postgresError(PlainText& server) {
    constexpr std::size_t kSizeLength = 4;
    constexpr std::size_t kLongest = 4096;
    const std::size_t length = numberIn(server.octets(kSizeLength));
    if (length < kSizeLength || length > kLongest) {
        notUnderstood("E");
    }
    std::string fields = server.octets(length - kSizeLength);
    for (std::size_t at = 0; at < fields.size() && fields[at] != '\0';) {
        std::string text = fields.c_str() + at + 1;
        if (fields[at] == 'M') {
            return text;
        }
        at += text.size() + 2;
    }
    return fields;
}

// SSLRequest, which is answered by one octet.
void postgres(PlainText& server, const std::string& /*host*/) {
    constexpr std::string_view kSslRequest("\x00\x00\x00\x08\x04\xD2\x16\x2F", 8);
    server.send(kSslRequest);
    switch (const char answer = server.octet()) {
        case 'S':
            return;
        case 'N':
            notOffered();
        case 'E':
            refused(postgresError(server));
        default:
            notUnderstood(std::string(1, answer));
    }
}

// The server greets; the client answers with an SSLRequest in place of its login, and then begins with TLS.
void mysql(PlainText& server, const std::string& /*host*/) {
    constexpr std::size_t kHeader = 4;  // length, 3 octets, and the number of the packet
    constexpr char kError = '\xFF';
    constexpr std::size_t kErrorText = 3;
    constexpr char kVersion = 10;
    constexpr std::size_t kFromVersionToFlags = 4 + 8 + 1;  // thread, random octets, filler
    constexpr unsigned char kSslInSecondOctet = 0x08;
    // The flags PROTOCOL_41, SSL and SECURE_CONNECTION, the largest packet, utf8mb4, and 23 octets of 0.
    constexpr std::size_t kReserved = 23;
    constexpr std::string_view kSslRequest(
        "\x20\0\0\x01"
        "\0\x8A\0\0"
        "\0\0\0\x01"
        "\x2D",
        13);
    const std::string header = server.octets(kHeader);
    const std::size_t length = numberIn(std::string{header[2], header[1], header[0]});
    if (header[3] != 0 || length == 0) {
        notUnderstood(header);
    }
    const std::string greeting = server.octets(length);
    if (greeting[0] == kError) {
        refused(std::string_view(greeting).substr(std::min(greeting.size(), kErrorText)));
    }
    const std::size_t end = greeting.find('\0');
    const std::size_t flags = end + 1 + kFromVersionToFlags;
    if (greeting[0] != kVersion || end == std::string::npos || flags + 2 > greeting.size()) {
        notUnderstood(greeting);
    }
    if ((static_cast<unsigned char>(greeting[flags + 1]) & kSslInSecondOctet) == 0) {
        notOffered();
    }
    server.requireNothingLeft();  // the greeting is the go-ahead
    server.send(std::string(kSslRequest) + std::string(kReserved, '\0'));
}

constexpr StartTlsProtocol kProtocols[] = {
    {"smtp", 25, smtp},  {"imap", 143, imap},  {"pop3", 110, pop3},          {"ftp", 21, ftp},
    {"ldap", 389, ldap}, {"xmpp", 5222, xmpp}, {"postgres", 5432, postgres}, {"mysql", 3306, mysql},
};

template <typename Holds>
const StartTlsProtocol* protocolOf(Holds holds) {
    const auto* const found = std::find_if(std::begin(kProtocols), std::end(kProtocols), holds);
    return found == std::end(kProtocols) ? nullptr : found;
}

}  // namespace

std::span<const StartTlsProtocol> startTlsProtocols() {
    return kProtocols;
}

const StartTlsProtocol* startTlsNamed(std::string_view name) {
    return protocolOf([name](const StartTlsProtocol& protocol) { return protocol.name == name; });
}

const StartTlsProtocol* startTlsAt(std::uint16_t port) {
    constexpr std::uint16_t kSubmission = 587;  // RFC 6409
    return protocolOf([usual = port == kSubmission ? std::uint16_t{25} : port](const StartTlsProtocol& protocol) {
        return protocol.port == usual;
    });
}

void startTls(Wire& wire, const StartTlsProtocol& protocol, const std::string& host) {
    PlainText server(wire);
    try {
        protocol.dialogue(server, host);
        server.requireNothingLeft();
    } catch (const ServerFailure& failure) {
        throw ServerFailure(failure.code(), "asking for TLS in " + std::string(protocol.name) + ": " + failure.what());
    }
}

}  // namespace tallow::cli
