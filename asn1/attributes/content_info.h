// A CMS message of any type (RFC 5652, section 3):
//
//   ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY DEFINED BY contentType }
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Content type and content. Copies are deep.
class TALLOW_EXPORT CContentInfo {
public:
    /// Empty type and content; cannot be encoded.
    CContentInfo();
    CContentInfo(const char* contentType, const CBlob& content);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_contentType() const { return contentType_.c_str(); }
    void put_contentType(const char* contentType);

    /// The whole DER of the content, without the tag [0] around it.
    const CBlob& get_content() const { return content_; }
    void put_content(const CBlob& content);

    /// The DER of the message. Throws InvalidArgument when the type is not dotted decimal text, and Asn1Error when the
    /// content of a known type is not the DER of it. Empty content is not checked: the tag [0] then holds nothing.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type, or its
    /// content does not fit a known content type.
    void decode(const CBlob& data);

private:
    CStringProxy contentType_;
    CBlob content_;
};

}  // namespace Orvane::ASN1
