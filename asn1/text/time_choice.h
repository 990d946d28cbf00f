// A time as certificates and signatures carry it (RFC 5280, section 4.1.2.5).
//
//   CTimeChoice time(CDateTime(2050, 1, 1, 0, 0, 0, 0, 0));       // type 2, generalTime
//   CBlob der = time.encode();
#pragma once

#include <memory>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"

namespace Orvane::ASN1 {

class CTimeChoiceImpl;

/// One point in time, in UTC:
///
///   Time ::= CHOICE {
///       utcTime     UTCTime,
///       generalTime GeneralizedTime }
///
/// The alternative follows the year, as RFC 5280 demands: generalTime from 2050, utcTime before; it cannot be chosen
/// otherwise. The encoding has whole seconds only. Copies are deep.
class TALLOW_EXPORT CTimeChoice {
public:
    /// Holds 1970-01-01 00:00:00, or a copy of `time`. A time that the platform cannot convert throws as
    /// CDateTime::year does.
    CTimeChoice();
    explicit CTimeChoice(const CDateTime& time);
    CTimeChoice(const CTimeChoice& other);
    CTimeChoice(CTimeChoice&& other) noexcept;
    CTimeChoice& operator=(const CTimeChoice& other);
    CTimeChoice& operator=(CTimeChoice&& other) noexcept;
    ~CTimeChoice();

    /// Removes the value: type 0, and get_time returns null.
    void clear();

    /// 1 for utcTime, 2 for generalTime, 0 after clear and after a move from the object.
    unsigned int get_type() const;

    /// In UTC. Null after clear and after a move from the object; otherwise valid until the object is changed or
    /// destroyed. The setter copies.
    const CDateTime* get_time() const;
    void put_time(const CDateTime& time);

    /// The DER of the choice. Throws:
    /// - kAsn1Error: nothing is held, as after clear, or the alternative cannot express the year: utcTime begins with
    ///   1950.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the time are ignored. Fractions of a second and a time zone other than Z are
    /// ignored: the fields count as UTC. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not a Time.
    /// - kInvalidArgument: the year is before 1601.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

private:
    std::unique_ptr<CTimeChoiceImpl> impl_;
};

}  // namespace Orvane::ASN1
