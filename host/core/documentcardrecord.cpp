#include "host/core/documentcardrecord.h"

DocumentCardRecord::DocumentCardRecord(LoyaltySystemType kind, const QVariant& number, int codeInternal)
    : m_kind(kind)
    , m_number(number)
    , m_codeInternal(codeInternal)
    , m_card(new Card)
{}

DocumentCardRecord::~DocumentCardRecord() = default;
