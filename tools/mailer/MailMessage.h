// The message the mailer sends: RFC 5322 headers and a text body that
// survives any 8-bit content.
#pragma once

#include <string>

namespace mailer {

struct MessageFields {
    std::string from;
    std::string to;
    std::string subject;
    std::string body;        // the body file as it stands
    long long date = 0;      // seconds since 1970
    std::string messageId;   // without the angle brackets
    bool mailerHeader = true;
};

// The whole message, every line ending in CR LF.
std::string composeMessage(const MessageFields &fields);

// Line ends (CR LF, lone CR, lone LF) all become CR LF.
std::string normaliseLineEnds(const std::string &text);

// The header value as it stands when it is printable ASCII, otherwise as
// RFC 2047 encoded words (UTF-8, base64), folded so no line passes 76.
std::string encodeHeaderText(const std::string &text, std::size_t nameLength);

// Quoted-printable of text whose lines already end in CR LF.
std::string quotedPrintable(const std::string &text);

// "<addr>" for the envelope, the address taken from "Name <addr>" if given.
std::string envelopeAddress(const std::string &address);

} // namespace mailer
