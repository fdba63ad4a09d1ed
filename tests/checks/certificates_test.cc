// The check of certificates, on some that are made here.
#include "checks/certificates.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <string>

namespace {

using SentrelCheck::Status;
using Test::ExpectOutcomes;

constexpr long long kNow = 1800000000;
constexpr long long kDay = 86400;

// PEM text of a certificate that expires `days` after kNow.
std::string CertificateFor(int days) {
    X509* certificate = X509_new();
    EVP_PKEY* key = EVP_EC_gen("P-256");
    ASN1_TIME_set(X509_getm_notBefore(certificate), kNow - 365 * kDay);
    ASN1_TIME_set(X509_getm_notAfter(certificate), kNow + days * kDay);
    X509_set_pubkey(certificate, key);
    X509_sign(certificate, key, EVP_sha256());
    BIO* file = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(file, certificate);
    char* text = nullptr;
    const long length = BIO_get_mem_data(file, &text);
    std::string pem(text, static_cast<std::size_t>(length));
    BIO_free(file);
    EVP_PKEY_free(key);
    X509_free(certificate);
    return pem;
}

void Check(const std::string& root, SentrelCheck::Settings& settings,
           SentrelCheck::Report& report) {
    Checks::CheckCertificates(root, kNow, settings, report);
}

TEST(CheckCertificates, JudgesTheDaysLeft) {
    const std::string good = CertificateFor(90);
    const std::string all = R"({"files": ["/etc/ssl/*.pem"]})";
    ExpectOutcomes(
        Check,
        {
            {"none named", {}, Status::None, "no certificate files are named in the settings"},
            {"good", {{"/etc/ssl/a.pem", good}}, Status::Ok, "1 certificate is valid", all},
            {"soon",
             {{"/etc/ssl/a.pem", good}, {"/etc/ssl/b.pem", CertificateFor(20)}},
             Status::Warning,
             "time until /etc/ssl/b.pem expires: 20 d is below 30 d",
             all},
            {"a chain",
             {{"/etc/ssl/a.pem", good + CertificateFor(3)}},
             Status::Error,
             "time until /etc/ssl/a.pem expires: 3 d is below 7 d",
             all},
            {"expired",
             {{"/etc/ssl/a.pem", CertificateFor(-1)}},
             Status::Error,
             "/etc/ssl/a.pem has expired",
             all},
            {"missing",
             {},
             Status::Unknown,
             "cannot read /etc/ssl/x.pem: No such file or directory",
             R"({"files": ["/etc/ssl/x.pem"]})"},
            {"no certificate",
             {{"/etc/ssl/a.pem", "rubbish"}},
             Status::Unknown,
             "/etc/ssl/a.pem contains no certificate in PEM form",
             all},
        });
}

}  // namespace
