// fake_power_management: answers on the session bus, as a desktop's power
// manager does, that the machine is not saving power. Baloo indexes file
// contents only then; a bare test session has no power manager, and Baloo
// takes that for running on battery.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QObject>

class PowerManagement : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement")
public Q_SLOTS:
    bool GetPowerSaveStatus() { return false; }
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    PowerManagement manager;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/PowerManagement"), &manager,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QStringLiteral("org.freedesktop.PowerManagement")))
        return 1;
    return app.exec();
}

#include "fake_power_management.moc"
