// The numbers of the Object Exchange protocol, as they go over the wire (OBEX 1.2).
#pragma once

#include <cstdint>

namespace obex {

// Of a request, the final bit included.
enum class Opcode : uint8_t {
  kPut = 0x02,
  kGet = 0x03,
  kConnect = 0x80,
  kDisconnect = 0x81,
  kPutFinal = 0x82,
  kGetFinal = 0x83,
  kSetPath = 0x85,
  kAbort = 0xFF,
};

// Of a response, the final bit included.
enum class Code : uint8_t {
  kContinue = 0x90,
  kSuccess = 0xA0,
  kBadRequest = 0xC0,
  kUnauthorized = 0xC1,
  kForbidden = 0xC3,
  kNotFound = 0xC4,
  kConflict = 0xC9,
  kTooLarge = 0xCD,
  kUnsupportedType = 0xCF,
  kInternalError = 0xD0,
  kNotImplemented = 0xD1,
  kUnavailable = 0xD3,
  kDatabaseFull = 0xE0,
  kDatabaseLocked = 0xE1,
};

// The two top bits say how the value is written: see HeaderReader.
enum class HeaderId : uint8_t {
  kName = 0x01,
  kType = 0x42,
  kTarget = 0x46,
  kBody = 0x48,
  kEndOfBody = 0x49,
  kWho = 0x4A,
  kParameters = 0x4C,
  kChallenge = 0x4D,
  kChallengeResponse = 0x4E,
  kLength = 0xC3,
  kConnectionId = 0xCB,
};

}  // namespace obex
