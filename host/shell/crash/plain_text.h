#pragma once

#include <unistd.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

/// Builds a text in a buffer of its own, or writes one to a descriptor piece by piece. Allocates
/// nothing and takes no lock, so that a signal handler may use it. On one thread at a time.
class PlainText {
public:
    /// In the buffer alone; what does not fit is left out.
    PlainText() = default;
    /// To an open descriptor, which this object does not close. Call flush() at the end.
    explicit PlainText(int descriptor) : m_descriptor(descriptor) {}

    PlainText& text(const char* part) {
        for (; *part != '\0'; ++part) {
            put(*part);
        }
        return *this;
    }
    /// Decimal, with zeros in front up to `width` digits.
    PlainText& number(std::int64_t value, int width = 1) {
        const bool isNegative = value < 0;
        auto rest =
            isNegative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
        if (isNegative) {
            put('-');
        }
        return digits(rest, 10, width);
    }
    /// "0x" and hexadecimal digits.
    PlainText& hex(std::uint64_t value) { return text("0x").digits(value, 16, 1); }

    void flush() {
        std::size_t done = 0;
        while (m_descriptor >= 0 && done < m_size) {
            const ssize_t written = ::write(m_descriptor, m_buffer.data() + done, m_size - done);
            if (written < 0 && errno == EINTR) {
                continue;
            }
            if (written <= 0) {
                m_isWhole = false;
                break;
            }
            done += static_cast<std::size_t>(written);
        }
        m_size = 0;
    }

    /// Whether everything so far found its place.
    bool isWhole() const { return m_isWhole; }
    /// The buffer's text, for one without a descriptor.
    const char* c_str() {
        m_buffer[m_size] = '\0';
        return m_buffer.data();
    }

private:
    void put(char character) {
        if (m_size + 1 == m_buffer.size()) {
            if (m_descriptor < 0) {
                m_isWhole = false;
                return;
            }
            flush();
        }
        m_buffer[m_size++] = character;
    }
    PlainText& digits(std::uint64_t value, unsigned base, int width) {
        std::array<char, 24> reversed{};
        std::size_t count = 0;
        while (value > 0) {
            reversed[count++] = "0123456789abcdef"[value % base];
            value /= base;
        }
        for (int missing = width - static_cast<int>(count); missing > 0; --missing) {
            put('0');
        }
        while (count > 0) {
            put(reversed[--count]);
        }
        return *this;
    }

    const int m_descriptor = -1;
    std::size_t m_size = 0;
    bool m_isWhole = true;
    std::array<char, 1024> m_buffer{};
};
