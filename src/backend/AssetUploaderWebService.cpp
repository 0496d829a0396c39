#include "backend/AssetUploaderWebService.h"

#include <filesystem>
#include <system_error>

#include "backend/Endpoints.h"
#include "quorvel/Fatal.h"
#include "quorvel/platform/Platform.h"
#include "support/Logging.h"
#include "support/Utf8.h"
#include "support/Uuid.h"

namespace quorvel {

std::chrono::milliseconds AssetUploaderWebService::timeoutInterval{60000};

namespace {

// A quote or line break would end the part header early and let the rest be read as headers.
bool isSafeHeaderValue(std::string_view text) {
  return text.find_first_of("\"\r\n") == std::string_view::npos;
}

}  // namespace

HttpRequest AssetUploaderWebService::baseRequest(std::string_view boundary) const {
  if (apiKey_.empty()) QUORVEL_FATAL("Uploads need an API key: call performTests first");
  HttpRequest request;
  request.method = "POST";
  request.url = Endpoints::assetUploadURL(environment_, appID_, *hostBundle_);
  request.timeout = timeoutInterval;
  request.headers = {{"Content-Type", "multipart/form-data; boundary=" + std::string(boundary)},
                     {"Authorization", "Bearer " + apiKey_}};
  return request;
}

std::string AssetUploaderWebService::bodyPrefix(std::string_view boundary,
                                                std::string_view fileName,
                                                std::string_view mediaType) {
  std::string prefix = "\r\n--";
  prefix += boundary;
  prefix += "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"";
  prefix += fileName;
  prefix += "\"\r\nContent-Type: ";
  prefix += mediaType;
  prefix += "\r\n\r\n";
  return prefix;
}

std::string AssetUploaderWebService::bodySuffix(std::string_view boundary) {
  return "\r\n--" + std::string(boundary) + "--\r\n";
}

std::shared_ptr<HttpTask> AssetUploaderWebService::uploadImage(const Image& image,
                                                               Completion completion) const {
  auto jpeg = imageEncoder_->jpegData(image, imageCompressionQuality);
  if (!jpeg) QUORVEL_FATAL("The image cannot be encoded as JPEG");
  HttpRequest request = baseRequest(imageBoundary);
  request.bodyPrefix = bodyPrefix(imageBoundary, "image.png", "image/png");
  request.bodyBytes = std::move(*jpeg);
  request.bodySuffix = bodySuffix(imageBoundary);
  // No Content-Length of ours: the client states the length it sends.
  return send(std::move(request), true, std::move(completion));
}

std::shared_ptr<HttpTask> AssetUploaderWebService::uploadFile(const std::string& filePath,
                                                              Completion completion) const {
  std::filesystem::path path(filePath);
  std::string fileName = path.filename().string();
  std::string extension = path.extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::string mediaType = std::string(octetStream);
  mediaType = typeRegistry_->preferredMIMEType(extension).value_or(mediaType);
  if (!isSafeHeaderValue(fileName) || !isSafeHeaderValue(mediaType)) {
    completion(std::nullopt, "The file name or media type of " + filePath +
                                 " holds a quote or a line break and cannot be sent");
    return nullptr;
  }
  std::error_code failure;
  auto size = std::filesystem::file_size(path, failure);
  if (failure || !std::filesystem::is_regular_file(path)) {
    completion(std::nullopt, "Cannot read " + filePath + ": " +
                                 (failure ? failure.message() : "not a regular file"));
    return nullptr;
  }
  std::string boundary = makeUUIDString();
  HttpRequest request = baseRequest(boundary);
  request.bodyPrefix = bodyPrefix(boundary, fileName, mediaType);
  request.bodyFile = HttpFileContent{filePath, size};
  request.bodySuffix = bodySuffix(boundary);
  request.headers.emplace_back("Content-Length", std::to_string(request.contentLength()));
  return send(std::move(request), false, std::move(completion));
}

std::shared_ptr<HttpTask> AssetUploaderWebService::send(HttpRequest request, bool logsDetails,
                                                        Completion completion) const {
  auto handle = strict_ ? &handleStrictly : &handleResponse;
  return httpClient_->send(
      std::move(request),
      [handle, logsDetails, completion = std::move(completion)](
          std::optional<HttpResponse> response, std::optional<std::string> error) {
        handle(response, error, logsDetails, completion);
      });
}

void AssetUploaderWebService::handleResponse(const std::optional<HttpResponse>& response,
                                             const std::optional<std::string>& error,
                                             bool logsDetails, const Completion& completion) {
  if (error || !response) {
    if (logsDetails) logLine(error.value_or("upload failed"));
    completion(std::nullopt, error.value_or("upload failed"));
    return;
  }
  if (response->body.empty()) {
    if (logsDetails) logLine("no response data");
    completion(std::nullopt, std::nullopt);
    return;
  }
  std::string_view text(reinterpret_cast<const char*>(response->body.data()),
                        response->body.size());
  // Deliberately silent: a body that is not UTF-8 gets no completion.
  if (!isValidUtf8(text)) return;
  if (logsDetails) logLine("uploaded to: " + std::string(text));
  // The status code is not looked at: an object in an error answer is delivered like a success.
  Dictionary parsed = Dictionary::parse(text, nullptr, false);
  if (!parsed.is_discarded() && parsed.is_object()) {
    completion(std::move(parsed), std::nullopt);
  } else {
    completion(std::nullopt, std::nullopt);
  }
}

void AssetUploaderWebService::handleStrictly(const std::optional<HttpResponse>& response,
                                             const std::optional<std::string>& error,
                                             bool logsDetails, const Completion& completion) {
  if (error || !response) return handleResponse(response, error, logsDetails, completion);
  auto refuse = [&](const std::string& why) {
    if (logsDetails) logLine(why);
    completion(std::nullopt, why);
  };
  const int status = response->statusCode;
  std::string_view text(reinterpret_cast<const char*>(response->body.data()),
                        response->body.size());
  // An error answer may still hold an object, even one with a "url": nothing was stored.
  if (status < 200 || status > 299) {
    return refuse("the assets backend answered " + std::to_string(status));
  }
  if (!isValidUtf8(text)) return refuse("the assets backend's answer is not UTF-8 text");
  Dictionary parsed = Dictionary::parse(text, nullptr, false);
  auto url = parsed.is_object() ? parsed.find("url") : parsed.end();
  if (url == parsed.end() || !url->is_string() || url->get_ref<const std::string&>().empty()) {
    return refuse("the assets backend's answer gives no address for the upload");
  }
  if (logsDetails) logLine("uploaded to: " + std::string(text));
  completion(std::move(parsed), std::nullopt);
}

}  // namespace quorvel
