// The page of the pod's on-screen display. Its buttons go through the window's command catalogue.
#pragma once

#include <QCoreApplication>
#include <cstdint>

#include "link/command_catalogue.h"
#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored: the display's state is the pod's.
class OsdPage : public SettingsPage {
    Q_DECLARE_TR_FUNCTIONS(OsdPage)

public:
    // The form outlives the page.
    explicit OsdPage(const SettingsForm& form);

    void load() override;
    void retranslate() override;
    // Code 18 with 1 in its first byte: what the pod shows (3) and in which style (4).
    void onReply(std::uint16_t code, const unsigned char* data, int size) override;

    // Until a reply comes, the switches are not the pod's: a line on the page says so.
    void linkOpened();
    // 0 Chinese, 1 English; nothing is selected by another value.
    void setLanguage(int language);
    // Gives the pod colour and language as they are selected.
    sorvane::Command styleCommand() const;

private:
    void showItems(std::uint32_t word);
    void showStyle(unsigned style);

    const SettingsForm& m_form;
};
