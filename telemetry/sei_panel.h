// The dialog of the telemetry that travels in the video.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "telemetry/sei_fields.h"

class QDialog;
class QGridLayout;
class QLabel;
struct SeiForm;

// Fills the form's two columns and shows the latest block in them, whether or not the dialog is seen; until
// the first one, and for what a block does not tell, "--". Form and dialog outlive it. GUI thread but where
// told.
class SeiPanel : public QObject {
    Q_OBJECT

public:
    // A run of SEI NAL units as findSeiBlock takes it, valid during the call.
    using Taker = std::function<void(void* run, int size, int kind)>;

    SeiPanel(const SeiForm& form, QDialog& dialog);
    ~SeiPanel() override;

    // To be called by the stream library's thread with each run; returns at once. Of blocks that come faster
    // than the GUI thread turns, the latest is shown. May outlive the panel, and does nothing then.
    Taker taker() const;

    // The form, captions and words in the language of the application. Values stay.
    void retranslate();

private:
    struct Mailbox;
    struct Row {
        const sorvane::SeiField* field;
        QLabel* caption;
        QLabel* value;
    };

    void fill(const sorvane::SeiFields& fields, QGridLayout& column);
    void setCaptions();
    void takeWaiting();
    void showValues();

    const SeiForm& m_form;
    QDialog& m_dialog;
    std::vector<Row> m_rows;
    std::optional<sorvane::SeiPayload> m_shown;
    const std::shared_ptr<Mailbox> m_mailbox;
};
