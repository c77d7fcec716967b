#pragma once
// The web view: pages that the page server (platform/vserver) has cleaned, in a text browser.

#include "core/widget.h"

#include <memory>

class QWidget;

/// The browser widget of a web view. It shows what it is given: it opens no file and no connection, follows no link
/// by itself and runs nothing.
QWidget *NewWebBrowser(QWidget *parent);

/// The view of a PtWebClient; `native` comes from NewWebBrowser and stays its parent's.
std::unique_ptr<PtView> MakeWebView(PtWidget &widget, QWidget *native);
