#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace quorvel::testing {

// Requests as the SDK writes them and a raw loopback client for the assets server tests.
inline const std::string kBoundary = "C8A4D0C2-5A7B-4E58-9B3E-0D6F1A2B3C4D";
inline const std::string kClose = "\r\n--" + kBoundary + "--\r\n";

// One part as the SDK writes it, leading empty line included.
std::string part(const std::string& fileName, const std::string& type, const std::string& content,
                 const std::string& partName = "content");

std::string request(const std::string& appID, const std::string& body,
                    const std::string& key = "key-2");

// A results document with data (JSON text) sealed for appID, as the SDK seals it.
std::string sealed(const std::string& data, const std::string& appID);

// A connection to the server on loopback; -1 when refused. Reads and writes give up after bound,
// only a guard against hanging: a server that waits for a body never sent shows up as a missing
// answer.
int connectTo(int port, std::chrono::milliseconds bound = std::chrono::seconds(20));

// Sends bytes on a fresh connection, never closing our side first, and returns all the server
// says until it closes. More bytes go out once an answer's head has arrived: the server has then
// read all it meant to, so what it does with the rest is its choice, not an accident of buffering.
std::string roundTrip(int port, const std::string& bytes, const std::string& more = "");

// All the server says until it closes; closed tells whether it did (false: the bound ran out).
std::string readToEnd(int fd, bool* closed = nullptr);

// The status of every answer head in answers.
std::vector<int> statuses(const std::string& answers);

}  // namespace quorvel::testing
