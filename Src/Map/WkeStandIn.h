#pragma once

#include "WkeApi.h"

#include <QString>

/** What fills the table where no engine does: a label in the place of the page, which says in Chinese what is missing.
 */
namespace wkestandin
{

/** Every entry takes any view, its own, another's or null. */
WkeApi table();

/** The sentence that labels show from now on, in Chinese; it ends with a full stop. */
void setReason(const QString &reason);

} // namespace wkestandin
