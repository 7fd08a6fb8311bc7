#include "tests/platform/pdf/PdfEncryption.h"

#include <glib.h>

#include <numeric>
#include <utility>

namespace halden::test {
namespace {

// What passwords are filled up with, as published.
constexpr char kPadding[] =
    "\x28\xBF\x4E\x5E\x4E\x75\x8A\x41\x64\x00\x4E\x56\xFF\xFA\x01\x08"
    "\x2E\x2E\x00\xB6\xD0\x68\x3E\x80\x2F\x0C\xA9\xFE\x64\x53\x69\x7A";
constexpr std::size_t kKeyLength = 5;

const std::string kOwnerEntry(32, 'o');
const std::string kIdentifier(16, 'i');
const std::string kPermissions("\xFC\xFF\xFF\xFF", 4);  // -4

std::string md5(const std::string& bytes) {
    std::string digest(16, '\0');
    gsize length = digest.size();
    GChecksum* sum = g_checksum_new(G_CHECKSUM_MD5);
    g_checksum_update(sum, reinterpret_cast<const guchar*>(bytes.data()), static_cast<gssize>(bytes.size()));
    g_checksum_get_digest(sum, reinterpret_cast<guint8*>(digest.data()), &length);
    g_checksum_free(sum);
    return digest;
}

std::string rc4(const std::string& key, std::string bytes) {
    unsigned char state[256];
    std::iota(std::begin(state), std::end(state), static_cast<unsigned char>(0));
    for (unsigned i = 0, j = 0; i < 256; ++i) {
        j = (j + state[i] + static_cast<unsigned char>(key[i % key.size()])) & 0xFF;
        std::swap(state[i], state[j]);
    }
    unsigned i = 0;
    unsigned j = 0;
    for (char& byte : bytes) {
        i = (i + 1) & 0xFF;
        j = (j + state[i]) & 0xFF;
        std::swap(state[i], state[j]);
        byte = static_cast<char>(byte ^ static_cast<char>(state[(state[i] + state[j]) & 0xFF]));
    }
    return bytes;
}

std::string padding() {
    return {kPadding, 32};
}

}  // namespace

PdfEncryption::PdfEncryption(const std::string& userPassword)
    : key_(md5((userPassword + padding()).substr(0, 32) + kOwnerEntry + kPermissions + kIdentifier)
               .substr(0, kKeyLength)) {}

std::string PdfEncryption::proof() const {
    return "/O " + hexString(kOwnerEntry) + " /U " + hexString(rc4(key_, padding())) + " /P -4";
}

std::string PdfEncryption::trailer(int encryptionObject) {
    const std::string id = hexString(kIdentifier);
    return " /ID [" + id + id + "] /Encrypt " + TinyPdf::reference(encryptionObject);
}

std::string PdfEncryption::encrypted(int number, const std::string& bytes) const {
    const std::string salt = {static_cast<char>(number), static_cast<char>(number >> 8), 0, 0, 0};
    return rc4(md5(key_ + salt).substr(0, kKeyLength + 5), bytes);
}

std::string PdfEncryption::hexString(const std::string& bytes) {
    std::string hex = "<";
    for (const char byte : bytes) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        hex += kDigits[static_cast<unsigned char>(byte) >> 4];
        hex += kDigits[static_cast<unsigned char>(byte) & 0xF];
    }
    return hex + ">";
}

TinyPdf encryptedDocument(const std::string& userPassword) {
    const PdfEncryption encryption(userPassword);
    TinyPdf pdf = documentWithPages({});
    const int contents = kFirstPage + 1;
    pdf.replace(
        kPageTree,
        "<< /Type /Pages /Count 1 /Kids [5 0 R] /MediaBox [0 0 200 100] /Resources << /Font << /F 3 0 R >> >> >>");
    pdf.replace(kInformation,
                "<< /Title " + PdfEncryption::hexString(encryption.encrypted(kInformation, "Hidden")) + " >>");
    pdf.add("<< /Type /Page /Parent 2 0 R /Contents " + TinyPdf::reference(contents) + " >>");
    pdf.addStream(encryption.encrypted(contents, showing("Secret")));
    const int dictionary = pdf.add("<< /Filter /Standard /V 1 /R 2 " + encryption.proof() + " >>");
    pdf.setTrailer("/Root 1 0 R /Info 4 0 R" + PdfEncryption::trailer(dictionary));
    return pdf;
}

}  // namespace halden::test
