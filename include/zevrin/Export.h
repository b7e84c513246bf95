#pragma once

/// Marks what the shared library exports; everything else keeps hidden visibility.
#define ZEVRIN_API [[gnu::visibility("default")]]
