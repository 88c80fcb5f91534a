#pragma once

class IMGButton;

// The image sets of the application's drawn buttons, so every screen uses the same looks.
namespace ButtonLooks {

// Blue with white text: the main action of a screen (Scan, Show Results, Add).
void applyPrimary(IMGButton* button);
// Light grey with dark text: the other actions (Stop, Back).
void applySecondary(IMGButton* button);

} // namespace ButtonLooks
