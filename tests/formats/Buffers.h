/// @file
/// Buffers as tests write and read them, and the message of what is refused.
#pragma once

#include <exception>
#include <sstream>
#include <string>
#include <string_view>

#include "support/Bytes.h"
#include "support/Narrow.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm::test {

inline ByteBuffer BufferOf(std::string_view svHex) {
    return ByteBuffer(FromHex(svHex));
}
inline std::string HexOf(const ByteBuffer& rbb) {
    return ToHex(rbb.data(), rbb.size());
}
inline ByteBuffer TextBuffer(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}
inline std::string TextOf(const ByteBuffer& rbb) {
    return std::string(rbb.begin(), rbb.end());
}

/// The pieces of a text between bars.
inline std::vector<std::string> Split(const std::string& rText) {
    std::vector<std::string> vPieces;
    std::istringstream oStream(rText);
    for (std::string piece; std::getline(oStream, piece, '|');)
        vPieces.push_back(piece);
    return vPieces;
}

/// The message of the exception that an operation must end in.
template <class Exception, class Operation>
std::string MessageOf(const Operation& rOperation) {
    try {
        rOperation();
    } catch (const Exception& rException) {
        return Narrow(rException.GetExceptionMesage().View());
    } catch (const std::exception& rException) {
        return std::string("another exception: ") + rException.what();
    }
    return "(no exception)";
}

}  // namespace vlm::test
