// The page of the pod's identity and of its modules' versions.
#pragma once

#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored; what is not answered stays as it is.
class DevicePage : public SettingsPage {
public:
    // The form outlives the page.
    explicit DevicePage(const SettingsForm& form) : m_form(form) {}

    void load() override {}
    // Codes 16 and 17: one field each, whose number is the first byte of the data.
    void onReply(std::uint16_t code, const unsigned char* data, int size) override;

private:
    const SettingsForm& m_form;
};
