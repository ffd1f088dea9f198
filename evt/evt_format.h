// The EVT container on disk (Windows XP and earlier), all numbers little-endian.
//
// File header: 48 bytes. Only its size and its signature decide what is read; where the ring of
// records begins and ends is not believed, since a dirty log's header is out of date.
//
//   0 header size (0x30)   4 "LfLe"              16 oldest record         20 end-of-file record
//  24 next record number  28 oldest record number 36 flags                44 header size again
//
// Record: a fixed part of 56 bytes, then source name, computer name, SID, strings and data at
// offsets counted from the record's first byte, padding, and the length once more.
//
//   0 length               4 "LfLe"               8 record number        12 time generated
//  16 time written        20 event id            24 event type (16 bit)  26 number of strings (16)
//  28 category (16)       30 flags (16)          32 closing record       36 string offset
//  40 SID length          44 SID offset          48 data length          52 data offset
//  56 source name, zero-terminated; computer name, zero-terminated
//
// End-of-file record: 40 bytes, with 0x11111111 in place of the signature.
//
//   0 length               4 0x11111111           8 0x22222222           12 0x33333333
//  16 0x44444444          20 oldest record       24 this record          28 next record number
//  32 oldest record number 36 length again
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnlex {

inline constexpr std::uint32_t kEvtSignature = 0x654C664C;  // "LfLe"
inline constexpr std::uint32_t kEvtEndMark = 0x11111111;
inline constexpr std::size_t kEvtEndRecordSize = 40;
inline constexpr std::size_t kEvtHeaderUsed = 48;
inline constexpr std::uint32_t kEvtHeaderDirty = 1;
inline constexpr std::uint32_t kEvtHeaderWrapped = 2;
inline constexpr std::uint32_t kEvtHeaderFull = 4;
inline constexpr std::size_t kEvtFixedSize = 56;
inline constexpr std::size_t kEvtLengthCopy = 4;
inline constexpr std::uint32_t kEvtAlignment = 4;  // of records in whole logs, and of their parts

// A text whose terminator is not among this many units counts as empty when it is stepped over, but
// under the complete policy; the strings of tables behind long texts are what they have always
// been.
inline constexpr std::size_t kEvtMeasuredUnits = 512;

// The computer name has no length of its own.
inline constexpr std::size_t kEvtUnboundedUnits = 500;

// All text of one record, in bytes of UTF-8. Real records stay far below.
inline constexpr std::uint64_t kEvtMaxRecordText = std::uint64_t{16} << 20;

// A string that lies inside its record costs bytes of its own. What a record states beyond them, by
// strings that overlap or lie behind its end, it has a share of by its length, and may take more
// out of what the records of its log have to spare together. So one crafted record gives all that
// it claims, and many of them cost little more than one.
inline constexpr std::uint64_t kEvtTextPerByte = 32;
inline constexpr std::uint64_t kEvtBytesPerString = 16;
inline constexpr std::uint64_t kEvtSpareText = kEvtMaxRecordText;
inline constexpr std::uint64_t kEvtSpareStrings = 0x10000;
// What has been taken comes back slowly, with the bytes of the records that follow.
inline constexpr std::uint64_t kEvtTextBackPerByte = 8;
inline constexpr std::uint64_t kEvtBytesPerStringBack = 32;

}  // namespace tarnlex
