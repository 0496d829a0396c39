#pragma once

#include "config/CopyTable.h"

namespace quorvel {

// English texts of every copy key; the same 111 keys as every other language table.
struct EnglishCopy {
  // Built on first use and kept for the life of the process.
  static const CopyTable& table();
};

}  // namespace quorvel
