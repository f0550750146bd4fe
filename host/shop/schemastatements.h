#pragma once

#include <QString>
#include <QStringList>

/// What a shop's database is made of, in statements for its owner.
namespace shop {

/// What each version of the tables adds to the one before; the first begins with nothing.
QStringList tables();

// The roles, the functions and the rights of the present version, whatever was there before: the roles before
// the tables, the others behind them.
QString roles();
QString functions();
QString rights();

} // namespace shop
