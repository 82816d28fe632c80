/// The loop that moves exactly so many bytes, without a pipe.
#include "pipe/exact_transfer.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

/// A piece that a scripted transfer moves, or the error that it returns instead.
struct Step {
  DWORD bytes;
  DWORD error = ERROR_SUCCESS;
};

struct Outcome {
  DWORD error;
  DWORD total;
  std::string bytes;
  bool operator==(const Outcome&) const = default;
};

/// Reads 10 bytes of "0123456789" with a transfer that moves what `steps` say.
Outcome ReadTen(const std::vector<Step>& steps) {
  const std::string source = "0123456789";
  std::string read(source.size(), '.');
  std::size_t at = 0;
  auto step = steps.begin();
  Outcome outcome{};
  outcome.error = Tagwright::TransferExactly(
      read.data(), static_cast<DWORD>(read.size()),
      [&](char* piece, DWORD length, DWORD* done) -> DWORD {
        EXPECT_EQ(length, source.size() - at);
        if (step == steps.end()) return ERROR_INVALID_FUNCTION;
        const Step now = *step++;
        std::memcpy(piece, source.data() + at, now.bytes);
        at += now.bytes;
        *done = now.bytes;
        return now.error;
      },
      &outcome.total);
  outcome.bytes = read;
  return outcome;
}

TEST(ExactTransfer, JoinsPiecesAndStopsAtTheFirstThatFails) {
  EXPECT_EQ(ReadTen({{10}}), (Outcome{ERROR_SUCCESS, 10, "0123456789"}));
  EXPECT_EQ(ReadTen({{1}, {8}, {1}}), (Outcome{ERROR_SUCCESS, 10, "0123456789"}));
  EXPECT_EQ(ReadTen({{4}, {0, ERROR_BROKEN_PIPE}}), (Outcome{ERROR_BROKEN_PIPE, 4, "0123......"}));
  EXPECT_EQ(ReadTen({{4}, {0}, {6}}), (Outcome{ERROR_HANDLE_EOF, 4, "0123......"}));
}

TEST(ExactTransfer, MovesNothingForNoBytes) {
  char none = 0;
  const auto never = [](char*, DWORD, DWORD*) -> DWORD { return ERROR_INVALID_FUNCTION; };
  EXPECT_EQ(Tagwright::TransferExactly(&none, 0, never), DWORD{ERROR_SUCCESS});
}

}  // namespace
