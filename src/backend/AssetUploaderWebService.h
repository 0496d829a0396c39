#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Dictionary.h"
#include "quorvel/Image.h"
#include "quorvel/platform/HttpClient.h"

namespace quorvel {

// Sends one asset to the assets backend as a multipart POST with a single part named "content",
// and hands back the backend's JSON object. Stateless; nothing is retried.
class AssetUploaderWebService {
 public:
  // (the backend's object, nothing), (nothing, an error text) or (nothing, nothing). Runs on the
  // HTTP client's thread. A body that is not UTF-8 gets no completion at all.
  using Completion =
      std::function<void(std::optional<Dictionary> response, std::optional<std::string> error)>;

  static constexpr std::string_view imageBoundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";
  static constexpr std::string_view octetStream = "application/octet-stream";
  static constexpr double imageCompressionQuality = 0.8;

  // Longest time without progress before an upload fails; 60 seconds.
  static std::chrono::milliseconds timeoutInterval;

  // The image as JPEG, sent as "image.png" labelled "image/png" (the backend expects exactly this).
  static void uploadImage(const Image& image, Completion completion);
  // The file's bytes, streamed from disk, under its own name and its extension's media type.
  static void uploadFile(const std::string& filePath, Completion completion);

  // The body around the content: the part's opening (with the leading empty line) and closing.
  static std::string bodyPrefix(std::string_view boundary, std::string_view fileName,
                                std::string_view mediaType);
  static std::string bodySuffix(std::string_view boundary);

 private:
  static void send(HttpRequest request, bool logsDetails, Completion completion);
  static void handleResponse(const std::optional<HttpResponse>& response,
                             const std::optional<std::string>& error, bool logsDetails,
                             const Completion& completion);
};

}  // namespace quorvel
