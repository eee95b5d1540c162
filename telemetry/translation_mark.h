// Marks a text for the translation tool where the toolkit itself is not to be included.
#pragma once

#ifndef QT_TRANSLATE_NOOP
#define QT_TRANSLATE_NOOP(context, text) text
#endif
