#include "RequestTarget.h"

#include <algorithm>
#include <cctype>

namespace quorvel {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::optional<std::string> decoded(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+') {
      out += ' ';
    } else if (text[i] != '%') {
      out += text[i];
    } else {
      if (i + 2 >= text.size()) return std::nullopt;
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      out += static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
  return out;
}

}  // namespace

bool RequestTarget::equalIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

std::string_view RequestTarget::path(std::string_view target) {
  for (std::string_view scheme : {"http://", "https://"}) {
    if (target.size() > scheme.size() &&
        equalIgnoringCase(target.substr(0, scheme.size()), scheme)) {
      std::size_t slash = target.find('/', scheme.size());
      target = slash == std::string_view::npos ? std::string_view("/") : target.substr(slash);
      break;
    }
  }
  return target.substr(0, target.find('?'));
}

std::string_view RequestTarget::query(std::string_view target) {
  std::size_t mark = target.find('?');
  return mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
}

std::optional<std::map<std::string, std::string>> RequestTarget::parameters(
    std::string_view query) {
  std::map<std::string, std::string> found;
  while (!query.empty()) {
    std::size_t end = query.find('&');
    std::string_view pair = query.substr(0, end);
    query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
    if (pair.empty()) continue;
    std::size_t equals = pair.find('=');
    auto name = decoded(pair.substr(0, equals));
    auto value =
        decoded(equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1));
    if (!name || !value || !found.emplace(std::move(*name), std::move(*value)).second) {
      return std::nullopt;
    }
  }
  return found;
}

std::optional<std::pair<std::string_view, std::string_view>> RequestTarget::asset(
    std::string_view path, std::string_view prefix) {
  if (!path.starts_with(prefix)) return std::nullopt;
  std::string_view rest = path.substr(prefix.size());
  std::size_t slash = rest.find('/');
  if (slash == 0 || slash == std::string_view::npos || slash + 1 == rest.size() ||
      rest.find('/', slash + 1) != std::string_view::npos) {
    return std::nullopt;
  }
  return std::pair{rest.substr(0, slash), rest.substr(slash + 1)};
}

}  // namespace quorvel
