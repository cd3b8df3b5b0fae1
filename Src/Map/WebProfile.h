#pragma once

#include "WebRequestFilter.h"

#include <QWebEngineProfile>

/** The settings of all map pages: only what the page needs is on. Keeps nothing on disk. */
class WebProfile : public QWebEngineProfile
{
    Q_OBJECT

public:
    WebProfile();

private:
    WebRequestFilter m_filter;
};
