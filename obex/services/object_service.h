// The service behind a connection: which of the two it is the target of the CONNECT says.
#pragma once

#include <memory>
#include <string_view>

#include "obex/packets/service.h"
#include "obex/services/journal.h"
#include "obex/services/push_service.h"

namespace obex {

class ObjectService : public Service {
 public:
  // The journal outlives it.
  ObjectService(const PushSettings& push, Journal& journal) : push_(push), journal_(journal) {}

  // What the service before it held is let go of.
  Code Open(std::string_view target) override;
  Code TakeBody(const Request& request, std::string_view bytes) override {
    return service_->TakeBody(request, bytes);
  }
  PutAnswer FinishPut(const Request& request, BodyForm body) override {
    return service_->FinishPut(request, body);
  }
  GetAnswer Get(const Request& request) override { return service_->Get(request); }
  void Drop() override { service_->Drop(); }
  void Close() override { service_.reset(); }

 private:
  const PushSettings push_;
  Journal& journal_;
  std::unique_ptr<Service> service_;
};

}  // namespace obex
