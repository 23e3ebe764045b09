#include "store/ProgramStatus.h"

namespace cz {

void ProgramStatus::set(const QString &text)
{
    text_ = text.left(255);
    emit changed(text_);
}

} // namespace cz
