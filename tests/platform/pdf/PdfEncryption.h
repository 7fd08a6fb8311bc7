// The oldest encryption of PDF (version 1, 40 bits), enough to see who gets in.
#pragma once

#include "tests/platform/pdf/TinyPdf.h"

#include <string>

namespace halden::test {

class PdfEncryption {
public:
    explicit PdfEncryption(const std::string& userPassword);

    /// The entries of the encryption dictionary that prove the password: /O, /U and /P.
    [[nodiscard]] std::string proof() const;
    /// Entries of the trailer: /ID and, when there is an encryption dictionary, /Encrypt.
    [[nodiscard]] static std::string trailer(int encryptionObject);
    /// A string or stream of the object `number`, encrypted.
    [[nodiscard]] std::string encrypted(int number, const std::string& bytes) const;

    [[nodiscard]] static std::string hexString(const std::string& bytes);

private:
    std::string key_;
};

/// One page that shows "Secret", titled "Hidden", encrypted under the password.
[[nodiscard]] TinyPdf encryptedDocument(const std::string& userPassword);

}  // namespace halden::test
