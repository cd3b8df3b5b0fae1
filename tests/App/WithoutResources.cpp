#include <QCoreApplication>
#include <QtGlobal>

/** Takes the style sheets and the catalogue out of the program before it looks for them. */
static void removeResources()
{
    Q_CLEANUP_RESOURCE(darkstyle);
    Q_CLEANUP_RESOURCE(lightstyle);
    Q_CLEANUP_RESOURCE(catalogue);
}

Q_COREAPP_STARTUP_FUNCTION(removeResources)
