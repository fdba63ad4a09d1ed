#include "platform/pellmar/object.h"

#include <typeinfo>

namespace Pellmar {

std::string ObjectImpl::ToString() const { return typeid(*this).name(); }

}  // namespace Pellmar
