#include "host/kelhost/policy_method.h"

namespace kelhost {

void* PolicyMethod::QueryInterface(const kel::InterfaceId* iid) {
  return iid != nullptr && *iid == IID_IKelBaseInterface ? static_cast<IPolicyMethod*>(this)
                                                         : nullptr;
}

}  // namespace kelhost
