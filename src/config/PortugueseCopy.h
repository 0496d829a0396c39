#pragma once

#include "config/CopyTable.h"

namespace quorvel {

// European Portuguese texts of every copy key; the same 111 keys as every other language table.
struct PortugueseCopy {
  // Built on first use and kept for the life of the process.
  static const CopyTable& table();
};

}  // namespace quorvel
