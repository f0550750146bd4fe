#include "host/utils/basicexception.h"

BasicException::BasicException(const tr::Tr& text)
    : std::runtime_error(text.ru().toStdString())
    , m_text(text)
{}

// Out of line, so that the type has one home and is caught across library boundaries.
BasicException::~BasicException() = default;
