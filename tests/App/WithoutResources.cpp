#include <QCoreApplication>
#include <QtGlobal>

/** Removes the style sheets and the catalogue from the program before it loads them. */
static void removeResources()
{
    Q_CLEANUP_RESOURCE(darkstyle);
    Q_CLEANUP_RESOURCE(lightstyle);
    Q_CLEANUP_RESOURCE(catalogue);
}

Q_COREAPP_STARTUP_FUNCTION(removeResources)
