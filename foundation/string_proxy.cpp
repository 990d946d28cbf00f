#include "foundation/string_proxy.h"

#include <utility>

namespace Orvane {

CStringProxy::CStringProxy(const char* text) : CStringProxy(std::string(text != nullptr ? text : "")) {}

CStringProxy::CStringProxy(std::string&& text) : text_(std::make_unique<std::string>(std::move(text))) {}

CStringProxy::CStringProxy(const CStringProxy& other) : CStringProxy(other.c_str()) {}

CStringProxy& CStringProxy::operator=(const CStringProxy& other) {
    if (text_) {
        text_->assign(other.c_str());
    } else {
        text_ = std::make_unique<std::string>(other.c_str());
    }
    return *this;
}

CWStringProxy::CWStringProxy(const wchar_t* text) : CWStringProxy(std::wstring(text != nullptr ? text : L"")) {}

CWStringProxy::CWStringProxy(std::wstring&& text) : text_(std::make_unique<std::wstring>(std::move(text))) {}

CWStringProxy::CWStringProxy(const CWStringProxy& other) : CWStringProxy(other.c_str()) {}

CWStringProxy& CWStringProxy::operator=(const CWStringProxy& other) {
    if (text_) {
        text_->assign(other.c_str());
    } else {
        text_ = std::make_unique<std::wstring>(other.c_str());
    }
    return *this;
}

}  // namespace Orvane
