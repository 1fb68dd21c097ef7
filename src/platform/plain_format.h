/// Puts a stream into the plain form for a scope: decimal numbers without grouping, no padding.
/// Dumps are read by tools, and go to a stream of the caller, who may have asked it for hexadecimal
/// numbers, or to one that took over the locale of the host. Stands at the head of every function
/// that writes to such a stream; one thread at a time, as with the stream itself.
#pragma once

#include <ios>
#include <locale>

namespace corebeacon {

class PlainFormat {
public:
    explicit PlainFormat(std::ios& stream)
        : mStream(stream),
          mFlags(stream.flags(std::ios_base::dec | std::ios_base::skipws)),
          mWidth(stream.width(0)),
          mFill(stream.fill(' ')),
          mLocale(stream.imbue(std::locale::classic())) {}
    /// Gives the stream back as it was, a width that was meant for the caller's next item included.
    ~PlainFormat() {
        mStream.imbue(mLocale);
        mStream.fill(mFill);
        mStream.width(mWidth);
        mStream.flags(mFlags);
    }
    PlainFormat(const PlainFormat&) = delete;
    PlainFormat& operator=(const PlainFormat&) = delete;

private:
    std::ios& mStream;
    const std::ios_base::fmtflags mFlags;
    const std::streamsize mWidth;
    const char mFill;
    const std::locale mLocale;
};

}  // namespace corebeacon
