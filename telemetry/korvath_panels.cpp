// The hub's status pages.
#include "app/korvath.h"
#include "telemetry/status_pages.h"
#include "ui_korvath.h"

using sorvane::PanelPage;

void Korvath::setupStatusPages() {
    m_statusPages = new StatusPages(this);
    m_statusPages->fill(PanelPage::kAircraft, ui->content_page_3);
    m_statusPages->fill(PanelPage::kPod, ui->content_page);
    m_statusPages->fill(PanelPage::kHealth, ui->content_page_2);
}

// Captions change at once, the values' words with the next report. The form's retranslation has reset the
// record button, whose text follows the report.
void Korvath::retranslateStatusPages() {
    m_statusPages->retranslate();
    ui->pushButton_132->setText(recordButtonText(m_telemetry));
}

void Korvath::refreshPanels() {
    const sorvane::PanelSource source{m_telemetry, m_navBlock};
    m_statusPages->refresh(PanelPage::kPod, source);
    m_statusPages->refresh(PanelPage::kHealth, source);
}

void Korvath::refreshAircraftPage() {
    m_statusPages->refresh(PanelPage::kAircraft, {m_telemetry, m_navBlock});
}
