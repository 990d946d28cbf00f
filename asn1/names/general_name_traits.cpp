#include "asn1/names/general_name_traits.h"

#include <cwchar>
#include <string>

#include "asn1/names/name_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"
#include "asn1/text/text_conversions.h"

namespace Orvane::ASN1 {

namespace {

constexpr std::size_t kMaxText = 0x40000000;

// The narrow form in memory from `ctxt`. A text that does not convert becomes null, which no encoder accepts.
const char* narrowText(ASN1CTXT* ctxt, const wchar_t* text) {
    if (std::wcslen(text) >= kMaxText) {
        return nullptr;
    }
    std::string narrow;
    try {
        narrow = tostring(text);
    } catch (const ATL::CAtlException&) {
        return nullptr;
    }
    return copyText(ctxt, narrow.c_str());
}

}  // namespace

void ASN1T_GeneralName_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value) {
    switch (value.get_type()) {
        case CGeneralName::kRfc822Name:
            record.u.rfc822Name = narrowText(ctxt, value.get_rfc822Name());
            break;
        case CGeneralName::kDNSName:
            record.u.dNSName = narrowText(ctxt, value.get_dNSName());
            break;
        case CGeneralName::kUniformResourceIdentifier:
            record.u.uniformResourceIdentifier = narrowText(ctxt, value.get_uniformResourceIdentifier());
            break;
        case CGeneralName::kDirectoryName:
            record.u.directoryName = allocateRecord<asn1data::ASN1T_Name>(ctxt);
            ASN1T_Name_traits::set(ctxt, *record.u.directoryName, *value.get_directoryName());
            break;
        case CGeneralName::kIPAddress:
            record.u.iPAddress = allocateRecord<ASN1TDynOctStr>(ctxt);
            ASN1TDynOctStr_traits::set(ctxt, *record.u.iPAddress, *value.get_iPAddress());
            break;
        case CGeneralName::kRegisteredID:
            record.u.registeredID = allocateRecord<ASN1TObjId>(ctxt);
            ASN1TObjId_traits::set(ctxt, *record.u.registeredID, narrowText(ctxt, value.get_registeredID()));
            break;
        default:
            ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    record.t = value.get_type();
}

void ASN1T_GeneralName_traits::get(const ASN1_T& record, CGeneralName& value) {
    switch (record.t) {
        case CGeneralName::kRfc822Name:
            value.put_rfc822Name(towstring(record.u.rfc822Name).c_str());
            break;
        case CGeneralName::kDNSName:
            value.put_dNSName(towstring(record.u.dNSName).c_str());
            break;
        case CGeneralName::kUniformResourceIdentifier:
            value.put_uniformResourceIdentifier(towstring(record.u.uniformResourceIdentifier).c_str());
            break;
        case CGeneralName::kDirectoryName:
            value.put_directoryName(valueOf<ASN1T_Name_traits, CBlob>(*record.u.directoryName));
            break;
        case CGeneralName::kIPAddress:
            value.put_iPAddress(valueOf<ASN1TDynOctStr_traits, CBlob>(*record.u.iPAddress));
            break;
        case CGeneralName::kRegisteredID:
            value.put_registeredID(towstring(toOID(*record.u.registeredID).c_str()).c_str());
            break;
        default:
            ATL::AtlThrowImpl(status::kInvalidArgument);
    }
}

}  // namespace Orvane::ASN1
