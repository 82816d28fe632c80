#include "client/exact_io.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

/// A source of bytes that arrive in given pieces; an empty piece stands for a success without
/// bytes.
class Pieces {
 public:
  explicit Pieces(std::vector<std::string> pieces) : _pieces(std::move(pieces)) {}

  DWORD operator()(char* target, DWORD length, DWORD* done) {
    asked.push_back(length);
    if (_pieces.empty()) return ERROR_BROKEN_PIPE;
    const std::string piece = _pieces.front().substr(0, length);
    _pieces.erase(_pieces.begin());
    std::ranges::copy(piece, target);
    *done = static_cast<DWORD>(piece.size());
    return ERROR_SUCCESS;
  }

  std::vector<DWORD> asked;

 private:
  std::vector<std::string> _pieces;
};

TEST(TransferExactly, JoinsPiecesAndAsksOnlyForTheRest) {
  Pieces pieces({"01234", "56789", "abcdef", "next message"});
  std::string target(16, '.');
  EXPECT_EQ(Tagwright::TransferExactly(target.data(), 16, std::ref(pieces)), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(target, "0123456789abcdef");
  EXPECT_THAT(pieces.asked, ElementsAre(16U, 11U, 6U));
}

TEST(TransferExactly, StopsAtTheFirstErrorOrEmptyPiece) {
  std::string target(16, '.');
  Pieces broken({"0123"});
  EXPECT_EQ(Tagwright::TransferExactly(target.data(), 16, std::ref(broken)),
            DWORD{ERROR_BROKEN_PIPE});
  Pieces empty({"0123", "", "456789abcdef"});
  EXPECT_EQ(Tagwright::TransferExactly(target.data(), 16, std::ref(empty)),
            DWORD{ERROR_HANDLE_EOF});
  EXPECT_THAT(empty.asked, ElementsAre(16U, 12U));
}

}  // namespace
