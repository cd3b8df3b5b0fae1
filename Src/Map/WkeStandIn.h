#pragma once

#include "WkeApi.h"

#include <QString>

/** Functions that replace a missing engine: they show a label that says in Chinese what is missing. */
namespace wkestandin
{

/** All functions accept null and views of an engine, and ignore them. */
WkeApi table();

/** Sets the Chinese sentence, with its full stop, that new labels show. */
void setReason(const QString &reason);

} // namespace wkestandin
