// Texts of the INI store: names compared, values escaped and converted, whatever the caller's
// locale.

#include "files/ini_store.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

static char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

int CompareNames(std::string_view a, std::string_view b)
{
    const size_t shared = std::min(a.size(), b.size());
    for (size_t i = 0; i < shared; ++i) {
        const auto x = static_cast<unsigned char>(Lower(a[i]));
        const auto y = static_cast<unsigned char>(Lower(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

void AddComment(std::string &comment, std::string_view lines)
{
    if (lines.empty()) return;
    if (!comment.empty()) comment += "\r\n";
    comment += lines;
}

static int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = Lower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string DecodedText(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            decoded += text[i];
            continue;
        }
        const char c = text[++i];
        const int high = i + 2 < text.size() && c == 'x' ? HexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
            continue;
        }
        switch (c) {
        case 'n': decoded += '\n'; break;
        case 'r': decoded += '\r'; break;
        case 't': decoded += '\t'; break;
        default: decoded += c;
        }
    }
    return decoded;
}

std::string EncodedText(const char *text)
{
    static const char kHex[] = "0123456789abcdef";
    std::string encoded;
    for (; *text != '\0'; ++text) {
        const auto c = static_cast<unsigned char>(*text);
        switch (c) {
        case '\t': encoded += "\\t"; break;
        case '\n': encoded += "\\n"; break;
        case '\r': encoded += "\\r"; break;
        case '"': encoded += "\\\""; break;
        case '\\': encoded += "\\\\"; break;
        default:
            if (c < 0x20 || c == 0x7f) {
                encoded += "\\x";
                encoded += kHex[c >> 4];
                encoded += kHex[c & 15];
            } else {
                encoded += *text;
            }
        }
    }
    return encoded;
}

int ConvertInt(std::string_view text, int32_t *value)
{
    text = Trimmed(text);
    if (text.empty()) return 0;
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return INI_NOT_A_NUMBER;
    }
    int32_t converted = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), converted);
    if (error != std::errc() || end != text.data() + text.size()) return INI_NOT_A_NUMBER;
    *value = converted;
    return 1;
}

// The three texts for the infinities, in any case. Other words are no numbers.
static bool ConvertInfinity(std::string_view text, double *value)
{
    const bool minus = CompareNames(text, "-inf") == 0;
    if (!minus && CompareNames(text, "inf") != 0 && CompareNames(text, "+inf") != 0) return false;
    *value = minus ? -HUGE_VAL : HUGE_VAL;
    return true;
}

// White space may stand in front, as the standard conversion allows it, but not behind.
int ConvertDouble(std::string_view text, double *value)
{
    if (Trimmed(text).empty()) return 0;
    if (ConvertInfinity(text, value)) return 1;
    text = TrimmedFront(text);
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return INI_NOT_A_NUMBER;
    }
    const size_t first = !text.empty() && text.front() == '-' ? 1 : 0;
    const char lead = first < text.size() ? text[first] : '\0';
    if (lead != '.' && (lead < '0' || lead > '9')) return INI_NOT_A_NUMBER;  // "nan", "infinity"
    double converted = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), converted);
    if (error != std::errc() || end != text.data() + text.size()) return INI_NOT_A_NUMBER;
    *value = converted;
    return 1;
}

std::string DoubleText(double value)
{
    char text[64];
    constexpr int kDigits = 16;
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, kDigits);
    return std::string(text, result.ptr);
}
