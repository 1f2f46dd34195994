#include "WindowDialogs.h"

#include "HostMessages.h"
#include "PtMessageBox.h"
#include "PtProgressDialog.h"
#include "PtZString.h"

bool WindowMessages::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IDisplayMsgHandler*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long WindowMessages::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult WindowMessages::ShowMessage(const FxChar* caption, const FxChar* text)
{
    PtMessageBox::information(m_parent, fromFxText(caption), fromFxText(text), PtZString::getOKString(), QString(),
                              QString(), 0, 0);
    return kFxOk;
}

FxResult WindowMessages::AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex)
{
    answerIndex = PtMessageBox::display(m_parent, QMessageBox::Question, fromFxText(caption), fromFxText(text),
                                        PtZString::getYesString(), PtZString::getNoString(), QString(), QString(),
                                        QString(), 1, 0);
    return kFxOk;
}

bool WindowProgress::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IProgressHandler*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long WindowProgress::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

WindowProgress::~WindowProgress()
{
    close();
}

void WindowProgress::close()
{
    delete m_dialog;
    m_dialog = nullptr;
    m_cancelled = nullptr;
}

FxResult WindowProgress::Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                               const FxChar* cancelText)
{
    close();
    m_total = count;
    m_done = 0;
    m_cancelled = cancelled;
    m_dialog = new PtProgressDialog(m_parent, fromFxText(caption), fromFxText(cancelText), int(count));
    QObject::connect(m_dialog, &QProgressDialog::canceled, m_dialog, [this] {
        if (m_cancelled)
            *m_cancelled = true;
    });
    m_dialog->show();
    m_dialog->setProgress(0);
    return kFxOk;
}

FxResult WindowProgress::Step()
{
    if (!m_dialog)
        return kFxErrFailure;
    if (m_done < m_total)
        ++m_done;
    m_dialog->setProgress(int(m_done));
    return kFxOk;
}

FxResult WindowProgress::ShowMessage(const FxChar* caption, const FxChar* text, bool success)
{
    if (m_dialog && m_done >= m_total)
        close();
    QWidget* parent = m_dialog ? static_cast<QWidget*>(m_dialog) : m_parent.data();
    if (success)
        PtMessageBox::information(parent, fromFxText(caption), fromFxText(text), PtZString::getOKString(), QString(),
                                  QString(), 0, 0);
    else
        PtMessageBox::warning(parent, fromFxText(caption), fromFxText(text), PtZString::getOKString(), QString(),
                              QString(), 0, 0);
    return kFxOk;
}
