/// How much of something this process may have while it lives.
#pragma once

#include <sys/resource.h>

class ResourceLimit {
 public:
  ResourceLimit(__rlimit_resource_t resource, rlim_t limit) : _resource(resource) {
    getrlimit(_resource, &_before);
    const rlimit lowered{limit, _before.rlim_max};
    setrlimit(_resource, &lowered);
  }
  ~ResourceLimit() { setrlimit(_resource, &_before); }
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;

 private:
  const __rlimit_resource_t _resource;
  rlimit _before{};
};
