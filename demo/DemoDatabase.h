#pragma once

#include <QString>
#include <functional>

class QSqlDatabase;

namespace demo
{

/** Fills an empty SQLite database, or says why not. */
using FillDatabase = std::function<bool(QSqlDatabase &database, QString *reason)>;

/**
 * Makes an SQLite file under a name of its own beside path and puts it there only when it is whole, in place of an
 * older one. False with the reason in *error (which may be null) when that failed; what stood at path stands there
 * still.
 */
bool replaceDatabase(const QString &path, const FillDatabase &fill, QString *error);

} // namespace demo
