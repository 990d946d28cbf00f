// A time as certificates carry it (RFC 5280, section 4.1.2.5):
//
//   Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
#pragma once

#include <memory>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"

namespace Orvane::ASN1 {

class CTimeChoiceImpl;

/// One point in time. The alternative follows the year: generalTime above 2049, utcTime up to it, and cannot be chosen
/// otherwise. The encoding has whole seconds only. Copies are deep.
class TALLOW_EXPORT CTimeChoice {
public:
    /// Holds CDateTime(0, 0), the first of January 1970.
    CTimeChoice();
    explicit CTimeChoice(const CDateTime& time);
    CTimeChoice(const CTimeChoice& other);
    CTimeChoice(CTimeChoice&& other) noexcept;
    CTimeChoice& operator=(const CTimeChoice& other);
    CTimeChoice& operator=(CTimeChoice&& other) noexcept;
    ~CTimeChoice();

    /// Forgets the value held: type 0, and get_time returns null.
    void clear();

    /// 1 for utcTime, 2 for generalTime, 0 after clear.
    unsigned int get_type() const;

    /// Null after clear; otherwise valid until the object is changed or destroyed.
    const CDateTime* get_time() const;
    void put_time(const CDateTime& time);

    /// The DER of the choice. Throws Asn1Error after clear, and for a year that the alternative cannot show.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not a Time, and InvalidArgument for a year before 1601;
    /// the object is then unchanged. Parts of a second and a time zone other than Z are passed over: the fields count
    /// as UTC.
    void decode(const CBlob& data);

private:
    std::unique_ptr<CTimeChoiceImpl> impl_;
};

}  // namespace Orvane::ASN1
