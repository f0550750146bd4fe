#include "host/storage/storageerror.h"

#include <cerrno>
#include <system_error>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

/// "%1": the file; "%2": nothing, or the system's own words.
tr::Tr textOf(StorageFault fault)
{
    switch (fault) {
    case StorageFault::Full:
        return {u"hostStorageFull"_s, u"Не сохранено: на диске нет места для файла %1%2"_s};
    case StorageFault::Denied:
        return {u"hostStorageDenied"_s, u"Нет прав на файл или папку %1%2"_s};
    case StorageFault::Damaged:
        return {u"hostStorageDamaged"_s,
                u"Файл %1 повреждён или создан другой программой; он оставлен как есть%2"_s};
    case StorageFault::Newer:
        return {u"hostStorageNewer"_s,
                u"Файл %1 создан более новой версией программы; он оставлен как есть%2"_s};
    case StorageFault::Locked:
        return {u"hostStorageLocked"_s, u"Файл %1 занят другой программой%2"_s};
    case StorageFault::Gone:
        return {u"hostStorageGone"_s,
                u"Файл или папка %1 удалены или подменены во время работы: верните прежние на место или "
                "перезапустите кассу%2"_s};
    case StorageFault::Strange:
        return {u"hostStorageStrange"_s,
                u"На месте файла %1 лежит ссылка, папка, канал или устройство; уберите это%2"_s};
    case StorageFault::Exposed:
        return {u"hostStorageExposed"_s,
                u"В папку данных %1 могут писать все пользователи; закройте её от других%2"_s};
    case StorageFault::Failed:
        break;
    }
    return {u"hostStorageFailed"_s, u"Ошибка чтения или записи файла %1%2"_s};
}

StorageFault faultOf(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return StorageFault::Full;
    case EACCES:
    case EPERM:
    case EROFS:
        return StorageFault::Denied;
    default:
        return StorageFault::Failed;
    }
}

} // namespace

BasicException storageError(StorageFault fault, const QString& file, const QString& detail)
{
    return BasicException(textOf(fault).arg(file, detail.isEmpty() ? QString() : u" (%1)"_s.arg(detail)));
}

BasicException systemError(int error, const QString& file)
{
    return storageError(faultOf(error), file, QString::fromStdString(std::generic_category().message(error)));
}

bool isFault(const BasicException& exception, StorageFault fault)
{
    return exception.tr().id() == textOf(fault).id();
}

} // namespace storage
