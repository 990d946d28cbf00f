// A CMS message of any type, such as signed data (RFC 5652, section 3).
//
//   CContentInfo message;
//   message.decode(der);
//   if (std::strcmp(message.get_contentType(), "1.2.840.113549.1.7.2") == 0) ...     // signed data
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Content type and content:
///
///   ContentInfo ::= SEQUENCE {
///       contentType OBJECT IDENTIFIER,
///       content     [0] EXPLICIT ANY DEFINED BY contentType }
///
/// Known content types are decoded when a message is read or written, so that a malformed one is noticed; their content
/// is returned as bytes all the same. Copies are deep. References and pointers from getters live until the object
/// changes.
class TALLOW_EXPORT CContentInfo {
public:
    /// Empty type and content; cannot be encoded.
    CContentInfo();
    /// Copies both; a null type counts as empty. encode() checks them.
    CContentInfo(const char* contentType, const CBlob& content);

    /// Dotted decimal text, never null. The setter copies; null counts as empty.
    const char* get_contentType() const { return contentType_.c_str(); }
    void put_contentType(const char* contentType);

    /// The whole DER of the content, without the tag [0] around it. The setter copies.
    const CBlob& get_content() const { return content_; }
    void put_content(const CBlob& content);

    /// The DER of the message. Empty content is not checked: the tag [0] then contains nothing. Throws:
    /// - kInvalidArgument: the type is not dotted decimal text.
    /// - kAsn1Error: the content of a known type is not the DER of it.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the message are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type, or its content does not fit a known content type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

private:
    CStringProxy contentType_;
    CBlob content_;
};

}  // namespace Orvane::ASN1
