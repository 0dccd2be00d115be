#pragma once

#include <stdexcept>
#include <string>

namespace vells::models {

// A failure of a call to the library, carrying the sentence a person reads.
// `http` is an answer outside 200…299 (or an application failure turned into
// one by the client), `notAnImage` a reply that should have been a picture,
// `noServer` an address that couldn't be built. `timedOut` and `badReply` are
// this client's transport failures: no answer within the limit, and an answer
// that couldn't be read.
class APIError : public std::runtime_error {
 public:
  enum class Kind { http, notAnImage, noServer, timedOut, badReply };

  static APIError http(int status, const std::string& message);
  static APIError notAnImage(const std::string& message);
  static APIError noServer();
  static APIError timedOut(int seconds);
  static APIError badReply(const std::string& detail);

  Kind kind() const { return kind_; }
  // What a person reads: the library's own sentence when its answer carries
  // one ({"error": "…"}), else the description.
  std::string sentence() const;
  // The HTTP status for `http`, 0 otherwise.
  int status() const { return status_; }

 private:
  APIError(Kind kind, int status, const std::string& description);

  Kind kind_;
  int status_;
};

}  // namespace vells::models
