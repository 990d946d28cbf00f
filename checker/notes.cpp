#include "checker/notes.h"

#include <new>

#include "checker/text/safe_text.h"
#include "handles/last_error.h"

namespace tallow {

namespace {

constexpr std::size_t kMostDownloads = 100;

}  // namespace

void Notes::takeDownload(const CRYPTO_NOTE& note) {
    if (note.dwPurpose == CRYPTO_NOTE_FOR_RESPONSE) {
        exchangeFailure_ = text::safeLine(note.szReason);
        hasProxyFailed_ = note.fAtProxy != FALSE;
        exchangeStatus_ = static_cast<int>(note.dwHttpStatus);
        return;
    }
    // What was received may turn out to be of another kind.
    const bool isSame = note.dwError != 0 && note.dwHttpStatus == 0 && !downloads_.empty() &&
                        downloads_.back().status == 0 && downloads_.back().url == text::safeLine(note.szUrl);
    if (isSame) {
        downloads_.back().status = ATL2::convertLastError(note.dwError);
        downloads_.back().reason = text::safeLine(note.szReason);
        return;
    }
    if (downloads_.size() == kMostDownloads) {
        return;
    }
    Download& download = downloads_.emplace_back();
    download.content = note.dwPurpose == CRYPTO_NOTE_FOR_CRL ? Download::Content::kCrl : Download::Content::kIssuer;
    download.url = text::safeLine(note.szUrl);
    download.status = ATL2::convertLastError(note.dwError);
    download.httpStatus = static_cast<int>(note.dwHttpStatus);
    download.duration = std::chrono::milliseconds(note.dwMilliseconds);
    download.isFromCache = note.fFromCache != FALSE;
    download.reason = std::string(note.fAtProxy != FALSE ? kProxyFailed : "") + text::safeLine(note.szReason);
}

void Notes::beginExchange() {
    exchangeFailure_.clear();
    hasProxyFailed_ = false;
    exchangeStatus_ = 0;
}

void Notes::take(void* context, const CRYPTO_NOTE* note) noexcept {
    auto& notes = *static_cast<Notes*>(context);
    try {
        switch (note->dwKind) {
            case CRYPTO_NOTE_DOWNLOAD:
                notes.takeDownload(*note);
                break;
            case CRYPTO_NOTE_CRL:
                notes.chain_.takeCrl(*note);
                break;
            case CRYPTO_NOTE_CHAIN:
                notes.chain_.takeChain(*note->pChain);
                break;
            case CRYPTO_NOTE_LOST:
                notes.isIncomplete_ = true;
                break;
            default:
                break;
        }
    } catch (const std::bad_alloc&) {
        notes.isIncomplete_ = true;
    }
}

}  // namespace tallow
