// Messages, as GMime reads them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::mail {

struct Person {
    std::string name;  // empty where only the address is known
    std::string address;
    friend bool operator==(const Person&, const Person&) = default;
};

/// What a message says. Everything is UTF-8.
struct Message {
    std::string subject;
    std::string identifier;  // without angle brackets
    std::vector<Person> authors;
    std::vector<Person> recipients;  // To, Cc and Bcc, in this order
    std::optional<double> date;      // Unix seconds
    std::string text;                // of the bodies, and of the messages inside; attached files are left out
};

/// Parts of one message; what follows is not looked at.
inline constexpr int kMaxParts = 1000;
/// Messages inside one another.
inline constexpr int kMaxMessageDepth = 8;
/// Bytes of text of one message.
inline constexpr std::size_t kMaxTextLength = std::size_t{32} << 20;
/// Addresses of each kind.
inline constexpr std::size_t kMaxPeople = 10000;

/// A message, headers first; nullopt for what has no header of mail. Encrypted parts are not opened; nothing that a
/// message refers to is fetched.
[[nodiscard]] std::optional<Message> messageFromBytes(std::string_view bytes);

}  // namespace quarry::mail
