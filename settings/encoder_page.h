// The pod's encoder and the custom text that it burns into its picture.
#pragma once

#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored: the encoder's state is the pod's.
class EncoderPage : public SettingsPage {
public:
    // The form outlives the page.
    explicit EncoderPage(const SettingsForm& form);

    void load() override;

private:
    const SettingsForm& m_form;
};
