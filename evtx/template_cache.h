// Prepared templates outlive their chunk: the same provider defines the same template in chunk
// after chunk, and telling that two definitions are alike is much cheaper than preparing one anew.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "evtx/template.h"
#include "logs/bytes.h"

namespace tarnlex {

// A place of a template body where chunks differ though the template is the same: the offset of a
// name.
struct NameField {
  std::uint32_t position = 0;        // of the offset, from the body's start
  bool follows = false;              // the name record stands right behind it
  std::vector<std::uint8_t> record;  // hash, character count and characters
};

struct CachedTemplate {
  std::vector<std::uint8_t> body;
  std::vector<NameField> names;
  TemplateProgram program;
};

struct TemplateCache {
  std::map<std::array<std::uint8_t, 16>, std::vector<std::unique_ptr<CachedTemplate>>> by_guid;
  std::size_t bytes = 0;         // roughly what all of it takes
  std::uint64_t generation = 0;  // of the name table whose names the programs use
};

// The cached program of a body that is alike, or null.
const TemplateProgram* FindCached(const TemplateCache& cache,
                                  const std::array<std::uint8_t, 16>& guid, Bytes chunk,
                                  std::uint32_t begin, std::uint32_t end);

// Keeps a program made of the body from `begin` to `end` and returns it in its new place; null when
// the body cannot be compared with others (it holds instances, or names that could not be read) or
// the cache is full. `program` is moved from only when it is kept.
const TemplateProgram* KeepInCache(TemplateCache& cache, const std::array<std::uint8_t, 16>& guid,
                                   Bytes chunk, std::uint32_t begin, std::uint32_t end,
                                   TemplateProgram& program);

// Whether half of what the cache may hold is taken.
bool IsHalfFull(const TemplateCache& cache);

void ClearCache(TemplateCache& cache);

}  // namespace tarnlex
