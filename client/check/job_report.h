/// What a check says about a job document.
#pragma once

#include <string>
#include <vector>

namespace Tagwright {

enum class Severity {
  kDoubt,     ///< It can be run, but probably not as it is meant.
  kUnusable,  ///< The document is empty, is not well-formed or has no job in it.
};

/// Rows and columns count from 1; a column is a character, and tab stops are four apart.
struct Finding {
  Severity severity;
  int row;
  int column;
  std::string text;
};

/// What the program does for one operation.
struct Step {
  int row;
  std::string text;
};

/// Neither part ever holds a password or data to be written.
struct JobReport {
  std::vector<Step> steps;        ///< In the order of execution.
  std::vector<Finding> findings;  ///< In the order of the document.

  bool IsUsable() const;
};

}  // namespace Tagwright
