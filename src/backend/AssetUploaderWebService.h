#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Dictionary.h"
#include "quorvel/Environment.h"
#include "quorvel/Image.h"
#include "quorvel/platform/HttpClient.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

// Sends one asset to the assets backend of a run as a multipart POST with a single part named
// "content", and hands back the backend's JSON object. It holds the run's environment and
// credentials, so whoever has one can upload without knowing the run; nothing is retried.
class AssetUploaderWebService {
 public:
  // Empty credentials are a programming error when a request is built. A strict uploader takes
  // only a 2xx answer whose body is a JSON object with a non-empty string "url"; every other
  // answer is an error, so its completion always runs. It sends through ports' HTTP client, encodes
  // images with its encoder, names media types by its registry and reads hosts from its bundle.
  AssetUploaderWebService(const Platform& ports, Environment environment, std::string appID,
                          std::string apiKey, bool strict = false)
      : httpClient_(ports.httpClient),
        imageEncoder_(ports.imageEncoder),
        typeRegistry_(ports.typeRegistry),
        hostBundle_(ports.hostBundle),
        environment_(environment),
        appID_(std::move(appID)),
        apiKey_(std::move(apiKey)),
        strict_(strict) {}

  // (the backend's object, nothing), (nothing, an error text) or (nothing, nothing). Runs on the
  // HTTP client's thread. Unless strict, a body that is not UTF-8 gets no completion at all.
  using Completion =
      std::function<void(std::optional<Dictionary> response, std::optional<std::string> error)>;

  static constexpr std::string_view imageBoundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";
  static constexpr std::string_view octetStream = "application/octet-stream";
  static constexpr double imageCompressionQuality = 0.8;

  // Longest time without progress before an upload fails; 60 seconds.
  static std::chrono::milliseconds timeoutInterval;

  bool isStrict() const { return strict_; }

  // Each returns the request under way, to cancel it, or null when none was sent.
  // The image as JPEG, sent as "image.png" labelled "image/png" (the backend expects exactly this).
  std::shared_ptr<HttpTask> uploadImage(const Image& image, Completion completion) const;
  // The file's bytes, streamed from disk, under its own name and its extension's media type.
  std::shared_ptr<HttpTask> uploadFile(const std::string& filePath, Completion completion) const;

  // The body around the content: the part's opening (with the leading empty line) and closing.
  static std::string bodyPrefix(std::string_view boundary, std::string_view fileName,
                                std::string_view mediaType);
  static std::string bodySuffix(std::string_view boundary);

 private:
  HttpRequest baseRequest(std::string_view boundary) const;
  std::shared_ptr<HttpTask> send(HttpRequest request, bool logsDetails,
                                 Completion completion) const;
  static void handleResponse(const std::optional<HttpResponse>& response,
                             const std::optional<std::string>& error, bool logsDetails,
                             const Completion& completion);
  static void handleStrictly(const std::optional<HttpResponse>& response,
                             const std::optional<std::string>& error, bool logsDetails,
                             const Completion& completion);

  std::shared_ptr<HttpClient> httpClient_;
  std::shared_ptr<ImageEncoder> imageEncoder_;
  std::shared_ptr<TypeRegistry> typeRegistry_;
  std::shared_ptr<HostBundle> hostBundle_;
  Environment environment_;
  std::string appID_;
  std::string apiKey_;
  bool strict_ = false;
};

}  // namespace quorvel
