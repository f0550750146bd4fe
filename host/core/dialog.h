#pragma once

#include "host/utils/export.h"
#include "host/utils/mockfactory.h"
#include "host/utils/registration.h"
#include "host/utils/tr.h"

#include <QString>

namespace core {

class HOST_EXPORT BasicDialog
{
public:
    /// How a dialog ended: the cashier confirmed what was entered, or cancelled. A value.
    class HOST_EXPORT Result
    {
    public:
        [[nodiscard]] static Result entered(const QString& data) { return {false, data}; }
        [[nodiscard]] static Result cancelled() { return {true, {}}; }

        [[nodiscard]] bool canceled() const { return m_canceled; }
        /// The entered text, changed only as the request's options say; empty when cancelled.
        [[nodiscard]] QString getData() const { return m_data; }

    private:
        Result(bool canceled, const QString& data)
            : m_canceled(canceled)
            , m_data(data)
        {}

        bool m_canceled;
        QString m_data;
    };

    virtual ~BasicDialog();
};

} // namespace core

/// A question with a list of answers.
struct HOST_EXPORT ChoiceRequest
{
    tr::Tr title;
    tr::Tr message; ///< above the list; empty: nothing
    tr::Tr comment; ///< below the list; empty: nothing
    tr::TrList items;
    tr::TrList extraItems; ///< actions offered besides the items; empty: none
    bool multipleChoice = false;
    bool closable = true; ///< the cashier may close the list without choosing
};

/// A question that is answered with a text, typed or scanned.
struct HOST_EXPORT TextInputRequest
{
    TextInputRequest(const tr::Tr& requestTitle, const tr::Tr& requestMessage);

    /// Kinds of entry that the host knows; the number chooses the keyboard on the screen.
    enum InputKind : int { AnyText = 0, Digits = 5 };

    tr::Tr title;
    tr::Tr message;
    tr::Tr scanErrorText; ///< shown when a scanned code can't be read as an answer
    tr::Tr okCaption;
    tr::Tr cancelCaption;
    int inputKind = AnyText;

    // The eight options, in the host's order.
    bool keyboardAllowed = true;
    bool scannerAllowed = true;
    bool cancelAllowed = true;
    bool emptyAllowed = true;
    bool hidden = false;  ///< the text is not shown while it is typed
    bool trimmed = false; ///< blanks at both ends are dropped
    bool multiline = false;
    bool uppercased = false; ///< letters are made capital

    QString formName; ///< identifies the question to front ends and scripts
};

/// Whoever shows dialogs: a window, a terminal, a script.
class HOST_EXPORT DialogFrontend
{
public:
    virtual ~DialogFrontend();
    /// The index of the chosen item, or -1 when the cashier closed the list.
    virtual int chooseFromList(const ChoiceRequest& request) = 0;
    virtual core::BasicDialog::Result inputText(const TextInputRequest& request) = 0;
};

/// The host's dialog service; obtained through MockFactory. It asks the front end that is registered and
/// throws BasicException when there is none: an answer that nobody gave must not be made up.
class HOST_EXPORT Dialog : public core::BasicDialog
{
public:
    ~Dialog() override;

    /// Makes it the front end of this process for as long as the result lives. It stays the caller's, who
    /// keeps it until then. Throws std::logic_error while there is another.
    static utils::Registration registerFrontend(DialogFrontend& frontend);

    /// Blocks until the cashier has chosen: the index in `items`, or -1 when they closed the list.
    virtual int chooseFromList(const ChoiceRequest& request);
    /// Blocks until the cashier has answered or cancelled.
    virtual core::BasicDialog::Result inputText(const TextInputRequest& request);
};

extern template class HOST_EXPORT MockFactory<Dialog>;
