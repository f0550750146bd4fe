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
    /// As the service numbers it.
    enum class Sex : int { Male = 0, Female = 1 };

    /// The whole name, as it is shown.
    void setName(const QString& name) { m_name = name; }
    /// The sex; unless set, Male.
    void setSex(Sex sex) { m_sex = sex; }
    /// The birthday; invalid when it is not known.
    void setBirthday(QDate birthday) { m_birthday = birthday; }
    /// The postal address in one line.
    void setAddress(const QString& address) { m_address = address; }
    /// The e-mail address.
    void setEmail(const QString& email) { m_email = email; }
    /// The phone number as the service writes it.
    void setPhoneNumber(const QString& phoneNumber) { m_phoneNumber = phoneNumber; }

    /// The whole name; empty when it is not known.
    [[nodiscard]] QString getName() const { return m_name; }
    /// The sex; Male also when it is not known.
    [[nodiscard]] Sex getSex() const { return m_sex; }
    /// The birthday; invalid when it is not known.
    [[nodiscard]] QDate getBirthday() const { return m_birthday; }
    /// The postal address; empty when it is not known.
    [[nodiscard]] QString getAddress() const { return m_address; }
    /// The e-mail address; empty when it is not known.
    [[nodiscard]] QString getEmail() const { return m_email; }
    /// The phone number; empty when it is not known.
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
    /// The customer, shared with the card; null when not known.
    [[nodiscard]] QSharedPointer<Client> getClient() const { return m_client; }

private:
    QSharedPointer<Client> m_client;
};
