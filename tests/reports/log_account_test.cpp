#include "reports/log_account.h"

#include <gtest/gtest.h>

#include "tests/evtx/recovering.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtxBuilder;

constexpr std::size_t kChunk = support::kEvtxHeaderSize;  // the first one

EvtxBuilder Logons() {
  EvtxBuilder log;
  for (const char* user : {"alice", "bob"}) {
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", user}, {"LogonType", "3"}}});
  }
  return log;
}

LogAccount Account(const ByteString& file) {
  LogAccount account;
  account.log.is_evtx = true;
  account.outcome = LogOutcome::kRead;
  account.evtx = Recover(file).account;
  return account;
}

TEST(LogAccount, ARecoveredRecordIsNoLossOfTheLog) {
  ByteString file = Logons().Build();
  support::ForgetRecords(file, 0, 0);
  const std::size_t second = support::RecordOffset(file, 0, 1);
  file[second + 20] ^= 0x10;  // its header has another time than its event
  LogAccount account = Account(file);
  EXPECT_EQ(LossesOf(account).recovered.checked[0], 2U);
  EXPECT_EQ(LossesOf(account).other_times, 0U);
  support::SetBytes(file, kChunk + 512, ByteString(600));  // the template of both is gone
  account = Account(file);
  const Losses losses = LossesOf(account);
  EXPECT_EQ(losses.recovered.checked[static_cast<std::size_t>(Checked::kNone)], 1U);
  EXPECT_EQ(losses.records + losses.partial + losses.left, 0U);
}

TEST(LogAccount, WhatARecoveryComesToIsNotLeft) {
  EvtxBuilder log = Logons();
  log.AddChunk();
  log.AddEvent({.event_id = 1, .data = {{"a", "b"}}});
  ByteString file = log.Build();
  support::RemoveChunkMagic(file, 0);
  LogAccount account = Account(file);
  EXPECT_EQ(account.evtx.skipped_heads, 2U);
  EXPECT_EQ(LossesOf(account).left, 0U);
  account.evtx.recovered = {};
  EXPECT_EQ(LossesOf(account).left, 2U);
}

}  // namespace
}  // namespace tarnlex
