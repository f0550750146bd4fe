#pragma once

#include "host/utils/export.h"

#include <QDate>
#include <QSharedPointer>
#include <QString>

/// The customer behind a card, as the loyalty system describes them. Any part may be unknown (empty,
/// invalid).
class HOST_EXPORT Client
{
public:
    enum class Sex : int { Male = 0, Female = 1 };

    void setName(const QString& name) { m_name = name; }
    void setSex(Sex sex) { m_sex = sex; }
    void setBirthday(QDate birthday) { m_birthday = birthday; }
    void setAddress(const QString& address) { m_address = address; }
    void setEmail(const QString& email) { m_email = email; }
    void setPhoneNumber(const QString& phoneNumber) { m_phoneNumber = phoneNumber; }

    [[nodiscard]] QString getName() const { return m_name; }
    [[nodiscard]] Sex getSex() const { return m_sex; }
    [[nodiscard]] QDate getBirthday() const { return m_birthday; }
    [[nodiscard]] QString getAddress() const { return m_address; }
    [[nodiscard]] QString getEmail() const { return m_email; }
    [[nodiscard]] QString getPhoneNumber() const { return m_phoneNumber; }

private:
    QString m_name;
    Sex m_sex = Sex::Male;
    QDate m_birthday;
    QString m_address;
    QString m_email;
    QString m_phoneNumber;
};

/// A loyalty card: so far, whose it is.
class HOST_EXPORT Card
{
public:
    /// Shared with the caller; null when the customer is not known.
    void setClient(const QSharedPointer<Client>& client) { m_client = client; }
    [[nodiscard]] QSharedPointer<Client> getClient() const { return m_client; }

private:
    QSharedPointer<Client> m_client;
};
