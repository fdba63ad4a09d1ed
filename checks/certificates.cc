#include "checks/certificates.h"

#include "platform/sys/read_file.h"

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <optional>
#include <vector>

#include <glob.h>
#include <string.h>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kDaysLeft{30, 7};
constexpr std::size_t kMaxFileBytes = 1024 * 1024;
constexpr double kSecondsPerDay = 86400;

template <auto Function>
struct Deleter {
    template <typename Type>
    void operator()(Type* object) const {
        Function(object);
    }
};
using Bio = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;

// Days until the first certificate of the PEM file to expire, negative once it has expired. Nothing
// if the file contains no certificate.
std::optional<double> DaysLeft(const std::string& text, long long now) {
    const Bio file(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    std::optional<double> least;
    while (const Certificate certificate{
        file ? PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr) : nullptr}) {
        std::tm end{};
        if (ASN1_TIME_to_tm(X509_get0_notAfter(certificate.get()), &end) == 1) {
            const double days = static_cast<double>(::timegm(&end) - now) / kSecondsPerDay;
            least = std::min(least.value_or(days), days);
        }
    }
    return least;
}

// The files that match a pattern of the settings; the pattern itself if none does.
std::vector<std::string> Expand(const std::string& pattern) {
    glob_t found{};
    std::vector<std::string> paths;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
    if (::glob(pattern.c_str(), GLOB_NOCHECK, nullptr, &found) == 0) {
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    ::globfree(&found);
    return paths;
}

void JudgeFile(const std::string& root, const std::string& path, long long now,
               const Limits& limits, Report& report) {
    const std::string name = path.substr(root.size());
    std::string text;
    if (const int error = Sys::ReadRegularFile(path, kMaxFileBytes, text); error != 0) {
        report.Find(Status::Unknown, "cannot read " + name + ": " + ::strerrordesc_np(error));
        return;
    }
    const std::optional<double> days = DaysLeft(text, now);
    if (!days) {
        report.Find(Status::Unknown, name + " contains no certificate in PEM form");
    } else if (*days < 0) {
        report.AddMetric({"days:" + name, *days, "d", limits});
        report.Find(Status::Error, name + " has expired");
    } else {
        report.Judge("time until " + name + " expires:", {"days:" + name, *days, "d", limits},
                     Bad::Low);
    }
}

}  // namespace

void CheckCertificates(const std::string& root, long long now, Settings& settings, Report& report) {
    const Limits limits = settings.GetLimits("days_left", kDaysLeft, Bad::Low);
    const std::vector<std::string> patterns = settings.GetList("files");
    settings.RefuseUnknown();

    std::size_t count = 0;
    for (const std::string& pattern : patterns) {
        for (const std::string& path : Expand(root + pattern)) {
            ++count;
            JudgeFile(root, path, now, limits, report);
        }
    }
    if (count == 0) {
        report.Find(Status::None, "no certificate files are named in the settings");
    }
    report.Summarize(std::to_string(count) +
                     (count == 1 ? " certificate is valid" : " certificates are valid"));
}

}  // namespace Checks
