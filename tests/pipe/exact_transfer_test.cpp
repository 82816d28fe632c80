/// The loop that moves exactly so many bytes, without a pipe.
#include "pipe/exact_transfer.h"

#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

/// The bytes that a transfer moves, and the error that it returns.
using Step = std::pair<DWORD, DWORD>;

/// Reads 10 bytes of "0123456789" with a transfer that moves what `steps` say: the error, how many
/// were moved, and what has been read.
auto ReadTen(const std::vector<Step>& steps) {
  const std::string source = "0123456789";
  std::string read(source.size(), '.');
  DWORD total = 0;
  std::size_t at = 0;
  auto step = steps.begin();
  const auto transfer = [&](char* piece, DWORD length, DWORD* done) -> DWORD {
    EXPECT_EQ(length, source.size() - at);
    if (step == steps.end()) return ERROR_INVALID_FUNCTION;
    *done = step->first;
    at += source.copy(piece, *done, at);
    return step++->second;
  };
  const DWORD error = Tagwright::TransferExactly(read.data(), 10, transfer, &total);
  return std::tuple(error, total, read);
}

TEST(ExactTransfer, JoinsPiecesAndStopsAtTheFirstThatFails) {
  using testing::FieldsAre;
  EXPECT_THAT(ReadTen({{10, 0}}), FieldsAre(ERROR_SUCCESS, 10, "0123456789"));
  EXPECT_THAT(ReadTen({{1, 0}, {8, 0}, {1, 0}}), FieldsAre(ERROR_SUCCESS, 10, "0123456789"));
  EXPECT_THAT(ReadTen({{4, 0}, {0, ERROR_BROKEN_PIPE}}),
              FieldsAre(ERROR_BROKEN_PIPE, 4, "0123......"));
  EXPECT_THAT(ReadTen({{4, 0}, {0, 0}, {6, 0}}), FieldsAre(ERROR_HANDLE_EOF, 4, "0123......"));
}

TEST(ExactTransfer, MovesNothingForNoBytes) {
  char none = 0;
  const auto never = [](char*, DWORD, DWORD*) -> DWORD { return ERROR_INVALID_FUNCTION; };
  EXPECT_EQ(Tagwright::TransferExactly(&none, 0, never), DWORD{ERROR_SUCCESS});
}

}  // namespace
