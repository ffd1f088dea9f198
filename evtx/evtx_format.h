// Sizes and offsets of the EVTX container and its binary XML ([MS-EVEN6] 2.2.12 for the tokens).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnlex {

inline constexpr std::string_view kEvtxFileSignature = "ElfFile";
inline constexpr std::string_view kEvtxChunkSignature = "ElfChnk";

inline constexpr std::uint64_t kEvtxFileHeaderSize = 4096;
inline constexpr std::size_t kFileHeaderUsed = 128;
inline constexpr std::uint32_t kFileNextRecord = 24;
inline constexpr std::uint32_t kFileChunkCount = 42;  // 16 bits
inline constexpr std::uint32_t kFileFlags = 120;
inline constexpr std::uint32_t kFileDirty = 1;
inline constexpr std::uint32_t kFileFull = 2;
inline constexpr std::uint32_t kFileChecksum = 124;
inline constexpr std::uint32_t kFileChecked = 120;  // bytes that the checksum is of

inline constexpr std::uint32_t kChunkSize = 0x10000;
inline constexpr std::uint64_t kBlockChunks = 50;  // chunks read at a time
inline constexpr std::uint64_t kBlockSize = kBlockChunks * kChunkSize;

// Chunk header, 512 bytes.
inline constexpr std::uint32_t kChunkFirstNumber = 8;
inline constexpr std::uint32_t kChunkLastNumber = 16;
inline constexpr std::uint64_t kNoRecords = ~std::uint64_t{0};  // as the last number: empty chunk
inline constexpr std::uint32_t kChunkFreeSpace = 48;            // offset of what no record uses
inline constexpr std::uint32_t kChunkRecordsChecksum = 52;      // of what records use
inline constexpr std::uint32_t kChunkChecksum = 124;  // of the header but for flags and itself
inline constexpr std::uint32_t kChunkCheckedFirst = 120;
inline constexpr std::uint32_t kChunkNameTable = 128;
inline constexpr std::uint32_t kNameBuckets = 64;
inline constexpr std::uint32_t kChunkTemplateTable = 384;
inline constexpr std::uint32_t kTemplateBuckets = 32;
inline constexpr std::uint32_t kFirstRecord = 512;

// Event record: signature, size, identifier, written time, then binary XML.
inline constexpr std::uint32_t kRecordSignature = 0x00002A2A;  // "**"
inline constexpr std::uint32_t kRecordSizeField = 4;
inline constexpr std::uint32_t kRecordIdField = 8;
inline constexpr std::uint32_t kRecordTimeField = 16;
inline constexpr std::uint32_t kRecordHeaderSize = 24;
inline constexpr std::uint32_t kRecordSizeCopy = 4;  // ends the record
// Behind a record's values: an end token, and what fills it up to a multiple of 8.
inline constexpr std::uint32_t kMostBehindStream = 1 + 8;
// Of a record that is a template instance, from the record's start.
inline constexpr std::uint32_t kRecordDefinitionField = kRecordHeaderSize + 10;
inline constexpr std::uint32_t kRecordInlinePosition = kRecordHeaderSize + 14;
inline constexpr std::uint32_t kMaxDefinitionOffset = 0x10000;

// Template definition: next offset, GUID, body size, body.
inline constexpr std::uint32_t kDefinitionGuidField = 4;
inline constexpr std::uint32_t kDefinitionSizeField = 20;
inline constexpr std::uint32_t kDefinitionHeadSize = 24;

// Name record: next offset, hash, character count, characters, a zero unit.
inline constexpr std::uint32_t kNameHeadSize = 8;

inline constexpr std::uint32_t kFragmentHeader = 0x0001010F;  // token 0x0F, version 1.1, no flags
inline constexpr std::uint32_t kFragmentHeaderSize = 4;
inline constexpr std::uint32_t kInstanceTokenSize = 10;  // token, version, identifier, offset
inline constexpr std::uint32_t kInstanceIdField = 2;     // the first bytes of the template's GUID

inline constexpr std::uint32_t kMaxArrayValues = 28;
inline constexpr std::uint32_t kDescriptorSize = 4;

// Bounds that no real log comes near; they keep a crafted one from costing more than it is worth.
inline constexpr int kMaxNesting = 16;
inline constexpr std::uint32_t kMaxRecordWork = 65'536;  // tokens and slot values of one record
inline constexpr std::uint64_t kMaxRecordText = std::uint64_t{16} << 20;
// No record that instantiates a template is shorter. As sizes lead from record to record, so many
// fit into a chunk that each may have the whole bound; what is shorter overlaps the next one, and
// has a share by its size.
inline constexpr std::uint32_t kLeastInstanceRecord = 46;
inline constexpr std::uint32_t kWorkPerByte = 8;
// A record says what the bytes of its chunk can say once (three bytes of UTF-8 a unit), and more in
// proportion to its own. What it says beyond that, because it repeats itself, comes out of what the
// records of the chunk have for it together.
inline constexpr std::uint64_t kTextSaidOnce = kChunkSize / 2 * 3;
inline constexpr std::uint64_t kTextPerByte = 32;
inline constexpr std::uint64_t kMaxChunkText = kMaxRecordText;
// Tokens of the definitions that are prepared, and bytes converted only to measure them.
inline constexpr std::uint32_t kMaxChunkPrepared = 131'072;
inline constexpr std::uint64_t kMaxChunkMeasured = std::uint64_t{20} << 20;
// Lines of the trace; streams that do not overlap have far fewer tokens.
inline constexpr std::uint32_t kMaxChunkTraced = 65'536;
// Bytes of text that cost as much as a token, and bytes that are only looked through.
inline constexpr std::size_t kTextPerToken = 16;
inline constexpr std::size_t kSearchedPerToken = 256;
// Names that do not overlap cannot have more text than this in one chunk.
inline constexpr std::uint64_t kMaxChunkNameText = std::uint64_t{256} << 10;
// Names by a number, which a few bytes of nesting can make: they are columns for the rest of the
// log.
inline constexpr std::uint64_t kMaxChunkNumberedText = std::uint64_t{512} << 10;

// Where the identifier of a registered template comes from (TemplateRef::origin_index).
inline constexpr std::uint32_t kOriginRecord = 0x10000000;
inline constexpr std::uint32_t kOriginNested = 0x20000000;

}  // namespace tarnlex
