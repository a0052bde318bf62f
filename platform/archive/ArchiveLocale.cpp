#include "platform/archive/ArchiveLocale.h"

namespace fw {

ArchiveLocale::ArchiveLocale(NameBytes bytes)
    : locale_(::newlocale(LC_CTYPE_MASK, bytes == NameBytes::kUtf8 ? "C.UTF-8" : "C", nullptr)),
      before_(::uselocale(locale_)) {}

ArchiveLocale::~ArchiveLocale() {
    ::uselocale(before_);
    if (locale_ != nullptr) {
        ::freelocale(locale_);
    }
}

} // namespace fw
