// Multi handles of libcurl that programs which the process starts do not notice.
#pragma once

#include <curl/curl.h>

#include <array>
#include <memory>

namespace tallow::platform {

struct MultiFree {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
using MultiPtr = std::unique_ptr<CURLM, MultiFree>;

// Null when libcurl cannot make one. `wakeUp` receives the descriptors that it has from the start, by which a thread
// could wake the one that waits, or -1: releases of libcurl before 8.13 let a started program inherit them, and this
// ends that.
MultiPtr makeMultiHandle(std::array<int, 2>& wakeUp) noexcept;

}  // namespace tallow::platform
