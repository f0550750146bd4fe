#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QHash>
#include <QJsonDocument>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>

/// One HTTP exchange with a service, from the host's network library: make one, send, read the answer.
class HOST_EXPORT RestClient : public QObject
{
    Q_OBJECT

public:
    RestClient() = default;
};
