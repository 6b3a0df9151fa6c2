// Locale-free printf-style formatting on std::to_chars, and number parsing on std::from_chars.
#include "tv/KdFormat.h"

#include "tv/KdUtf8.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>
#include <type_traits>

namespace {

// -- Output --

/// Appends ASCII text to narrow or wide output.
template <typename C> void appendAscii(std::basic_string<C>& out, std::string_view ascii) {
    out.append(ascii.begin(), ascii.end());
}

/// One code point, as a wide character or as UTF-8.
void appendCodePoint(std::wstring& out, wchar_t c) {
    out.push_back(c);
}
void appendCodePoint(std::string& out, wchar_t c) {
    out += tvToUtf8(std::wstring_view(&c, 1));
}

/// The length of the UTF-8 sequence that byte `b` starts (1 for ASCII and for bytes that
/// cannot start one).
size_t utf8SequenceLength(unsigned char b) {
    if (b >= 0xF0 && b <= 0xF4)
        return 4;
    if (b >= 0xE0)
        return b <= 0xEF ? 3 : 1;
    if (b >= 0xC2)
        return 2;
    return 1;
}

// -- Directives: one % and what follows it --

enum class Length { kNone, kHH, kH, kL, kLL, kJ, kZ, kT, kBigL };

struct Directive {
    bool left = false;  // -
    bool plus = false;  // +
    bool space = false; // ' '
    bool alt = false;   // #
    bool zero = false;  // 0
    int width = 0;
    int precision = -1; // none
    Length length = Length::kNone;
    char conversion = 0;
};

/// Writes `prefix` (sign, "0x") and `body` padded to the width: blanks before, blanks after
/// (the - flag) or zeros between prefix and body (the 0 flag where the conversion allows it).
template <typename C>
void appendPadded(std::basic_string<C>& out, const Directive& directive, std::string_view prefix,
                  const std::basic_string<C>& body, bool zeroPadding) {
    const size_t length = prefix.size() + body.size();
    const size_t fill =
        static_cast<size_t>(directive.width) > length ? directive.width - length : 0;
    if (directive.left) {
        appendAscii(out, prefix);
        out += body;
        out.append(fill, C(' '));
    } else if (zeroPadding && directive.zero) {
        appendAscii(out, prefix);
        out.append(fill, C('0'));
        out += body;
    } else {
        out.append(fill, C(' '));
        appendAscii(out, prefix);
        out += body;
    }
}

template <typename C> std::basic_string<C> widen(std::string_view ascii) {
    return std::basic_string<C>(ascii.begin(), ascii.end());
}

/// %d %i %u %o %x %X of a value given as its sign and magnitude.
template <typename C>
void appendInteger(std::basic_string<C>& out, const Directive& directive, bool negative,
                   unsigned long long magnitude) {
    const char conv = directive.conversion;
    const int base = conv == 'o' ? 8 : (conv == 'x' || conv == 'X') ? 16 : 10;
    char buf[64];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, magnitude, base);
    std::string digits(buf, end);
    if (conv == 'X')
        for (char& c : digits)
            c = tvAsciiUpper(c);
    if (directive.precision == 0 && magnitude == 0)
        digits.clear();
    if (directive.precision > 0 && digits.size() < static_cast<size_t>(directive.precision))
        digits.insert(0, static_cast<size_t>(directive.precision) - digits.size(), '0');
    std::string prefix;
    if (conv == 'd' || conv == 'i') {
        if (negative)
            prefix = "-";
        else if (directive.plus)
            prefix = "+";
        else if (directive.space)
            prefix = " ";
    } else if (directive.alt && conv == 'o' && (digits.empty() || digits[0] != '0')) {
        digits.insert(0, 1, '0');
    } else if (directive.alt && magnitude != 0 && (conv == 'x' || conv == 'X')) {
        prefix = conv == 'x' ? "0x" : "0X";
    }
    appendPadded(out, directive, prefix, widen<C>(digits), directive.precision < 0);
}

/// The digits of `value` (not negative, finite) in style 'f' or 'e' with `precision` digits
/// after the point.
template <typename Real> std::string realDigits(Real value, char style, int precision) {
    // Room for the digits before the point of the largest value, the point, the precision
    // and an exponent.
    std::string buf(static_cast<size_t>(precision) + std::numeric_limits<Real>::max_exponent10 + 16,
                    '\0');
    const auto format = style == 'f' ? std::chars_format::fixed : std::chars_format::scientific;
    const auto [end, ec] =
        std::to_chars(buf.data(), buf.data() + buf.size(), value, format, precision);
    buf.resize(ec == std::errc() ? static_cast<size_t>(end - buf.data()) : 0);
    return buf;
}

/// Drops the zeros that end the fraction of a %g text, and its point when nothing follows.
void dropTrailingZeros(std::string& text) {
    const size_t point = text.find('.');
    if (point == std::string::npos)
        return;
    const size_t exponent = std::min(text.find('e'), text.size());
    size_t last = exponent;
    while (last > point + 1 && text[last - 1] == '0')
        --last;
    if (last == point + 1)
        --last;
    text.erase(last, exponent - last);
}

/// %f %F %e %E %g %G.
template <typename C, typename Real>
void appendReal(std::basic_string<C>& out, const Directive& directive, Real value) {
    const char conv = directive.conversion;
    const bool upper = conv == 'F' || conv == 'E' || conv == 'G';
    std::string prefix;
    if (std::signbit(value))
        prefix = "-";
    else if (directive.plus)
        prefix = "+";
    else if (directive.space)
        prefix = " ";
    value = std::fabs(value);
    if (!std::isfinite(value)) {
        const char* text = std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
        appendPadded(out, directive, prefix, widen<C>(text), false);
        return;
    }
    const int precision = directive.precision < 0 ? 6 : directive.precision;
    const char style = static_cast<char>(tvAsciiLower(conv));
    std::string digits;
    if (style == 'g') {
        // The style %e would have, with P significant digits, tells the exponent X; %f is used
        // when P > X >= -4, with P - 1 - X digits after the point.
        const int significant = precision == 0 ? 1 : precision;
        digits = realDigits(value, 'e', significant - 1);
        const size_t e = digits.find('e');
        int exponent = 0;
        std::from_chars(digits.data() + e + 1 + (digits[e + 1] == '+'),
                        digits.data() + digits.size(), exponent);
        if (significant > exponent && exponent >= -4)
            digits = realDigits(value, 'f', significant - 1 - exponent);
        if (!directive.alt)
            dropTrailingZeros(digits);
    } else {
        digits = realDigits(value, style, precision);
    }
    if (directive.alt && digits.find('.') == std::string::npos)
        digits.insert(std::min(digits.find('e'), digits.size()), 1, '.');
    if (upper)
        for (char& c : digits)
            c = tvAsciiUpper(c);
    appendPadded(out, directive, prefix, widen<C>(digits), true);
}

// -- Text arguments --

/// Narrow text (UTF-8) of at most `precision` output characters (no limit when negative).
void appendNarrowText(std::wstring& body, const char* s, int precision) {
    if (precision < 0) {
        body += tvFromUtf8(s);
        return;
    }
    // Every character of the output takes at least one byte, one that is not NUL: read only
    // as far as `precision` sequences reach.
    size_t bytes = 0;
    for (int n = 0; n < precision && s[bytes] != '\0'; ++n) {
        const size_t length = utf8SequenceLength(static_cast<unsigned char>(s[bytes]));
        size_t k = 1;
        while (k < length && s[bytes + k] != '\0')
            ++k;
        bytes += k;
    }
    std::wstring text = tvFromUtf8(std::string_view(s, bytes));
    if (text.size() > static_cast<size_t>(precision))
        text.resize(static_cast<size_t>(precision));
    body += text;
}

void appendNarrowText(std::string& body, const char* s, int precision) {
    if (precision < 0) {
        body += s;
        return;
    }
    // At most `precision` bytes, cut before a sequence that would not fit whole.
    const size_t limit = strnlen(s, static_cast<size_t>(precision));
    size_t bytes = 0;
    while (bytes < limit) {
        const size_t length = utf8SequenceLength(static_cast<unsigned char>(s[bytes]));
        if (bytes + length > limit)
            break;
        bytes += length;
    }
    body.append(s, bytes);
}

void appendWideText(std::wstring& body, const wchar_t* s, int precision) {
    body.append(s, precision < 0 ? std::wcslen(s) : wcsnlen(s, static_cast<size_t>(precision)));
}

void appendWideText(std::string& body, const wchar_t* s, int precision) {
    if (precision < 0) {
        body += tvToUtf8(s);
        return;
    }
    // Whole characters while their UTF-8 fits; each takes at least one byte.
    const size_t count = wcsnlen(s, static_cast<size_t>(precision));
    for (size_t i = 0; i < count; ++i) {
        const std::string c = tvToUtf8(std::wstring_view(s + i, 1));
        if (body.size() + c.size() > static_cast<size_t>(precision))
            break;
        body += c;
    }
}

// -- The format --

/// Reads a width or precision of digits; false when it is above kTvFormatMaxField.
template <typename C> bool readNumber(const C*& p, int& value) {
    long long n = 0;
    while (*p >= C('0') && *p <= C('9')) {
        n = n * 10 + (*p++ - C('0'));
        if (n > kTvFormatMaxField)
            return false;
    }
    value = static_cast<int>(n);
    return true;
}

/// Reads the flags, width, precision and length of a conversion and its letter, from the
/// character after the '%'; `p` is left on the letter. False when it is malformed.
template <typename C> bool readDirective(const C*& p, va_list& ap, Directive& directive) {
    for (;; ++p) {
        if (*p == C('-'))
            directive.left = true;
        else if (*p == C('+'))
            directive.plus = true;
        else if (*p == C(' '))
            directive.space = true;
        else if (*p == C('#'))
            directive.alt = true;
        else if (*p == C('0'))
            directive.zero = true;
        else
            break;
    }
    if (*p == C('*')) {
        ++p;
        const int w = va_arg(ap, int);
        if (w < -kTvFormatMaxField || w > kTvFormatMaxField)
            return false;
        directive.left = directive.left || w < 0;
        directive.width = w < 0 ? -w : w;
    } else if (!readNumber(p, directive.width)) {
        return false;
    }
    if (*p == C('.')) {
        ++p;
        if (*p == C('*')) {
            ++p;
            const int precision = va_arg(ap, int);
            if (precision > kTvFormatMaxField)
                return false;
            directive.precision = precision < 0 ? -1 : precision;
        } else if (!readNumber(p, directive.precision)) {
            return false;
        }
    }
    // p[1] is there to read when *p is a letter: at worst it is the terminating null.
    const bool doubled = *p != C('\0') && p[1] == *p;
    switch (*p) {
    case C('h'):
        directive.length = doubled ? Length::kHH : Length::kH;
        p += doubled ? 2 : 1;
        break;
    case C('l'):
        directive.length = doubled ? Length::kLL : Length::kL;
        p += doubled ? 2 : 1;
        break;
    case C('j'):
        directive.length = Length::kJ;
        ++p;
        break;
    case C('z'):
        directive.length = Length::kZ;
        ++p;
        break;
    case C('t'):
        directive.length = Length::kT;
        ++p;
        break;
    case C('L'):
        directive.length = Length::kBigL;
        ++p;
        break;
    default:
        break;
    }
    // The format may end inside the conversion; a letter beyond ASCII is none either.
    if (*p <= 0 || *p >= 0x80)
        return false;
    directive.conversion = static_cast<char>(*p);
    return true;
}

/// The argument of %d or %i, as wide as the length says. False for L.
bool takeSigned(va_list& ap, Length length, long long& v) {
    switch (length) {
    case Length::kNone:
        v = va_arg(ap, int);
        return true;
    case Length::kHH:
        v = static_cast<signed char>(va_arg(ap, int));
        return true;
    case Length::kH:
        v = static_cast<short>(va_arg(ap, int));
        return true;
    case Length::kL:
        v = va_arg(ap, long);
        return true;
    case Length::kLL:
        v = va_arg(ap, long long);
        return true;
    case Length::kJ:
        v = va_arg(ap, intmax_t);
        return true;
    case Length::kZ:
        v = va_arg(ap, std::make_signed_t<size_t>);
        return true;
    case Length::kT:
        v = va_arg(ap, ptrdiff_t);
        return true;
    case Length::kBigL:
        break;
    }
    return false;
}

/// The argument of %u %o %x %X, as wide as the length says. False for L.
bool takeUnsigned(va_list& ap, Length length, unsigned long long& v) {
    switch (length) {
    case Length::kNone:
        v = va_arg(ap, unsigned);
        return true;
    case Length::kHH:
        v = static_cast<unsigned char>(va_arg(ap, unsigned));
        return true;
    case Length::kH:
        v = static_cast<unsigned short>(va_arg(ap, unsigned));
        return true;
    case Length::kL:
        v = va_arg(ap, unsigned long);
        return true;
    case Length::kLL:
        v = va_arg(ap, unsigned long long);
        return true;
    case Length::kJ:
        v = va_arg(ap, uintmax_t);
        return true;
    case Length::kZ:
        v = va_arg(ap, size_t);
        return true;
    case Length::kT:
        v = va_arg(ap, std::make_unsigned_t<ptrdiff_t>);
        return true;
    case Length::kBigL:
        break;
    }
    return false;
}

/// %c and %s: which kind of text the argument is follows the Host's conventions.
template <typename C>
bool appendText(std::basic_string<C>& out, const Directive& directive, va_list& ap) {
    constexpr bool kWide = std::is_same_v<C, wchar_t>;
    if (directive.length != Length::kNone && directive.length != Length::kH &&
        directive.length != Length::kL)
        return false;
    const bool wideArg =
        directive.length == Length::kL || (kWide && directive.length == Length::kNone);
    std::basic_string<C> body;
    if (directive.conversion == 'c') {
        if (wideArg) {
            appendCodePoint(body, static_cast<wchar_t>(va_arg(ap, wint_t)));
        } else {
            const auto b = static_cast<unsigned char>(va_arg(ap, int));
            body.push_back(static_cast<C>(!kWide || b < 0x80 ? b : 0xFFFD));
        }
    } else if (wideArg) {
        const wchar_t* s = va_arg(ap, const wchar_t*);
        appendWideText(body, s ? s : L"(null)", directive.precision);
    } else {
        const char* s = va_arg(ap, const char*);
        appendNarrowText(body, s ? s : "(null)", directive.precision);
    }
    appendPadded(out, directive, {}, body, false);
    return true;
}

/// Appends one conversion, taking its argument. False when the conversion is bad.
template <typename C>
bool appendConversion(std::basic_string<C>& out, const Directive& directive, va_list& ap) {
    switch (directive.conversion) {
    case 'd':
    case 'i': {
        long long v = 0;
        if (!takeSigned(ap, directive.length, v))
            return false;
        const auto magnitude = static_cast<unsigned long long>(v);
        appendInteger(out, directive, v < 0, v < 0 ? 0ull - magnitude : magnitude);
        return true;
    }
    case 'u':
    case 'o':
    case 'x':
    case 'X': {
        unsigned long long v = 0;
        if (!takeUnsigned(ap, directive.length, v))
            return false;
        appendInteger(out, directive, false, v);
        return true;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
        if (directive.length == Length::kBigL)
            appendReal(out, directive, va_arg(ap, long double));
        else if (directive.length == Length::kNone || directive.length == Length::kL)
            appendReal(out, directive, va_arg(ap, double));
        else
            return false;
        return true;
    case 'c':
    case 's':
        return appendText(out, directive, ap);
    default:
        return false; // %n, %p, %a, positional arguments, the ' flag, unknown letters
    }
}

template <typename C> bool formatAppend(std::basic_string<C>& out, const C* format, va_list args) {
    if (!format)
        return false;
    const size_t start = out.size();
    va_list ap;
    va_copy(ap, args);
    bool ok = true;
    for (const C* p = format; ok && *p; ++p) {
        if (*p != C('%')) {
            out.push_back(*p);
        } else if (p[1] == C('%')) {
            out.push_back(*++p);
        } else {
            Directive directive;
            ++p;
            ok = readDirective(p, ap, directive) && appendConversion(out, directive, ap);
        }
    }
    va_end(ap);
    if (!ok)
        out.resize(start);
    return ok;
}

// -- Parsing --

/// The ASCII characters that lead wide text, for from_chars.
std::string asciiPrefix(std::wstring_view text) {
    std::string out;
    for (wchar_t c : text) {
        if (c <= 0 || c >= 0x80)
            break;
        out.push_back(static_cast<char>(c));
    }
    return out;
}

template <typename T> bool parseNumber(std::string_view text, T& value, size_t* used) {
    if (used)
        *used = 0;
    const char* begin = text.data();
    const char* end = begin + text.size();
    // from_chars takes a '-' but no '+'. What follows the sign must be a digit or, in a real,
    // the point, so that "inf", "nan", "+-1" and blanks fail.
    const bool plus = begin != end && *begin == '+';
    const char* p = plus ? begin + 1 : begin;
    const char* digits = !plus && p != end && *p == '-' ? p + 1 : p;
    const bool numberStart = digits != end && ((*digits >= '0' && *digits <= '9') ||
                                               (std::is_floating_point_v<T> && *digits == '.'));
    if (!numberStart)
        return false;
    T result{};
    std::from_chars_result r;
    if constexpr (std::is_floating_point_v<T>)
        r = std::from_chars(p, end, result, std::chars_format::general);
    else
        r = std::from_chars(p, end, result, 10);
    if (r.ec != std::errc() || (!used && r.ptr != end))
        return false;
    if constexpr (std::is_floating_point_v<T>)
        if (!std::isfinite(result))
            return false;
    value = result;
    if (used)
        *used = static_cast<size_t>(r.ptr - begin);
    return true;
}

template <typename T> bool parseWide(std::wstring_view text, T& value, size_t* used) {
    const std::string ascii = asciiPrefix(text);
    if (!used && ascii.size() != text.size())
        return false;
    return parseNumber(std::string_view(ascii), value, used);
}

} // namespace

bool tvFormatAppendV(std::wstring& out, const wchar_t* format, va_list args) {
    return formatAppend(out, format, args);
}

bool tvFormatAppendV(std::string& out, const char* format, va_list args) {
    return formatAppend(out, format, args);
}

bool tvFormatAppend(std::wstring& out, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const bool ok = formatAppend(out, format, args);
    va_end(args);
    return ok;
}

bool tvFormatAppend(std::string& out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const bool ok = formatAppend(out, format, args);
    va_end(args);
    return ok;
}

std::wstring tvFormat(const wchar_t* format, ...) {
    std::wstring out;
    va_list args;
    va_start(args, format);
    formatAppend(out, format, args);
    va_end(args);
    return out;
}

std::string tvFormat(const char* format, ...) {
    std::string out;
    va_list args;
    va_start(args, format);
    formatAppend(out, format, args);
    va_end(args);
    return out;
}

bool tvParseInt(std::string_view text, long long& value, size_t* used) {
    return parseNumber(text, value, used);
}

bool tvParseInt(std::wstring_view text, long long& value, size_t* used) {
    return parseWide(text, value, used);
}

bool tvParseReal(std::string_view text, double& value, size_t* used) {
    return parseNumber(text, value, used);
}

bool tvParseReal(std::wstring_view text, double& value, size_t* used) {
    return parseWide(text, value, used);
}

bool tvParseDxfReal(std::string_view text, double& value) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return tvParseReal(text, value);
}

std::string tvErrnoText(int error) {
    // Made once and kept to the end of the process; strerror_l reads it from any thread.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    if (!cLocale)
        return "error " + std::to_string(error);
    return strerror_l(error, cLocale);
}
