#include "ctl/page/html.h"

#include "ctl/show/printable.h"
#include "platform/sys/utf8.h"

#include <openssl/evp.h>

#include <array>

namespace Ctl {

namespace {

constexpr std::size_t kMaxTextBytes = 16 * 1024;

}  // namespace

std::string Html(std::string_view text) {
    const std::string_view kept = Sys::CutUtf8(text, kMaxTextBytes);
    std::string html;
    for (const char byte : PrintableLines(kept)) {
        switch (byte) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += byte;
        }
    }
    return kept.size() < text.size() ? html + " …" : html;
}

std::string PolicyHash(std::string_view inlineText) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    (void)EVP_Digest(inlineText.data(), inlineText.size(), digest.data(), &length, EVP_sha256(),
                     nullptr);  // with a wrong hash the browser only ignores the style or script
    std::array<unsigned char, 2 * EVP_MAX_MD_SIZE> encoded{};
    (void)EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(length));
    return std::string("sha256-") + reinterpret_cast<const char*>(encoded.data());
}

}  // namespace Ctl
