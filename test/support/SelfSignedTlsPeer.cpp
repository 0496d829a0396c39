#include "support/SelfSignedTlsPeer.h"

#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "support/LoopbackSockets.h"

namespace quorvel::testing {

namespace {

void fail(const char* what) { throw std::runtime_error(std::string("TLS peer: ") + what); }

}  // namespace

SelfSignedTlsPeer::SelfSignedTlsPeer() {
  // A P-256 key and a one-day certificate for 127.0.0.1 that signs itself.
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* cert = X509_new();
  if (key == nullptr || cert == nullptr) fail("cannot make a key");
  ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
  X509_gmtime_adj(X509_getm_notBefore(cert), 0);
  X509_gmtime_adj(X509_getm_notAfter(cert), 24 * 3600);
  X509_set_pubkey(cert, key);
  X509_NAME* name = X509_get_subject_name(cert);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
  X509_set_issuer_name(cert, name);
  SSL_CTX* context = SSL_CTX_new(TLS_server_method());
  const bool ready = X509_sign(cert, key, EVP_sha256()) != 0 && context != nullptr &&
                     SSL_CTX_use_certificate(context, cert) == 1 &&
                     SSL_CTX_use_PrivateKey(context, key) == 1;
  X509_free(cert);  // the context holds its own references
  EVP_PKEY_free(key);
  context_ = context;
  if (!ready) fail("cannot make a self-signed certificate");

  listener_ = listenOnLoopback(port_);
  if (listener_ < 0) fail("cannot listen on 127.0.0.1");
  thread_ = std::thread([this] { serve(); });
}

SelfSignedTlsPeer::~SelfSignedTlsPeer() {
  stopping_ = true;
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
  SSL_CTX_free(static_cast<SSL_CTX*>(context_));
}

void SelfSignedTlsPeer::serve() {
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 100) < 0) return;
    if (stopping_) return;
    if ((waiting.revents & POLLIN) == 0) continue;
    int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    // A client that gives up mid-handshake must not hold this thread for long.
    timeval limit{5, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    SSL* tls = SSL_new(static_cast<SSL_CTX*>(context_));
    SSL_set_fd(tls, connection);
    ++attempted_;
    if (SSL_accept(tls) == 1) {
      ++completed_;
      SSL_shutdown(tls);
    }
    SSL_free(tls);
    ::close(connection);
  }
}

}  // namespace quorvel::testing
