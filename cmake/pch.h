#pragma once

// Headers nearly every translation unit of the tree includes; compiled once.
#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTime>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>
#include <vector>
