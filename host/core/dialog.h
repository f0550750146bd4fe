#pragma once

#include "host/utils/export.h"
#include "host/utils/mockfactory.h"
#include "host/utils/registration.h"
#include "host/utils/tr.h"

#include <QString>

namespace core {

/// What all dialogs are.
class HOST_EXPORT BasicDialog
{
public:
    /// How a dialog ended: the cashier confirmed what was entered, or cancelled. A value.
    class HOST_EXPORT Result
    {
    public:
        /// The cashier confirmed this text.
        [[nodiscard]] static Result entered(const QString& data) { return {false, data}; }
        /// The cashier closed the dialog without an answer.
        [[nodiscard]] static Result cancelled() { return {true, {}}; }

        /// Whether the cashier closed the dialog without an answer.
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
    tr::Tr title;                ///< of the dialog
    tr::Tr message;              ///< above the list; empty: nothing
    tr::Tr comment;              ///< below the list; empty: nothing
    tr::TrList items;            ///< the answers, in the order in which they are shown
    tr::TrList extraItems;       ///< actions offered besides the items; empty: none
    bool multipleChoice = false; ///< several items may be chosen; chooseFromList() tells of one
    bool closable = true;        ///< the cashier may close the list without choosing
};

/// A question that is answered with a text, typed or scanned.
struct HOST_EXPORT TextInputRequest
{
    /// With the texts that the cashier knows for the captions and the scan error.
    TextInputRequest(const tr::Tr& requestTitle, const tr::Tr& requestMessage);

    /// Kinds of entry that the host knows; the number chooses the keyboard on the screen.
    enum InputKind : int { AnyText = 0, Digits = 5 };

    tr::Tr title;            ///< of the dialog
    tr::Tr message;          ///< the question
    tr::Tr scanErrorText;    ///< shown when a scanned code can't be read as an answer
    tr::Tr okCaption;        ///< of the button that confirms
    tr::Tr cancelCaption;    ///< of the button that closes without an answer
    int inputKind = AnyText; ///< of InputKind; a host with more kinds may take other numbers

    // The eight options, in the host's order.
    bool keyboardAllowed = true; ///< the answer may be typed
    bool scannerAllowed = true;  ///< the answer may be scanned
    bool cancelAllowed = true;   ///< the cashier may close the dialog without an answer
    bool emptyAllowed = true;    ///< an empty text is an answer
    bool hidden = false;         ///< the text is not shown while it is typed
    bool trimmed = false;        ///< blanks at both ends are dropped
    bool multiline = false;      ///< the text may have several lines
    bool uppercased = false;     ///< letters are made capital

    QString formName; ///< identifies the question to front ends and scripts
};

/// Whoever shows dialogs: a window, a terminal, a script.
class HOST_EXPORT DialogFrontend
{
public:
    virtual ~DialogFrontend();
    /// The index of the chosen item, or -1 when the cashier closed the list.
    virtual int chooseFromList(const ChoiceRequest& request) = 0;
    /// The entered text, with what the request's options make of it, or that the cashier cancelled.
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
