#pragma once

#include <QSettings>
#include <type_traits>

/// The settings store, opened afresh. Open it for each reading or writing: then every reader sees
/// what this or another program wrote last.
inline QSettings settingsStore()
{
    return QSettings(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
}

/// A key of the store and the value that it stands for while it is absent.
template<typename Value>
struct Setting
{
    const char *key;
    Value absent;

    /// A text that is no number, or a number beyond int, counts as absent. A flag is off for
    /// "false", "0" and the empty text, and on for any other.
    Value from(const QSettings &store) const
    {
        const QVariant stored = store.value(QLatin1String(key), absent);
        if constexpr (std::is_same_v<Value, int>) {
            bool isNumber = false;
            const int number = stored.toString().toInt(&isNumber);
            return isNumber ? number : absent;
        } else {
            return stored.value<Value>();
        }
    }
    Value stored() const { return from(settingsStore()); }
    void write(QSettings &store, const Value &value) const
    {
        store.setValue(QLatin1String(key), value);
    }
};

/// All settings. What they mean to a user: docs/administration.md.
namespace settings {

/// Whether the next start takes the coefficients and the reduced field from the store.
inline constexpr Setting<bool> restore{"preferences/restore", false};
inline constexpr Setting<int> lumiere{"params/lumiere", 0};
inline constexpr Setting<int> contraste{"params/contraste", 100};
inline constexpr Setting<int> reglage{"params/reglage", 50};
inline constexpr Setting<int> zoom{"params/zoom", 100};
/// On when absent. Read only with restore on; otherwise the whole field is shown.
inline constexpr Setting<bool> smallField{"preferences/smallField", true};
inline constexpr Setting<bool> rawStore{"preferences/rawStore", true};
inline constexpr Setting<bool> displayStatus{"preferences/displayStatus", false};
inline constexpr Setting<bool> displayMsg{"preferences/displayMsg", false};
/// The dialog shows an absent key as on, so messages start with the first OK there.
inline constexpr Setting<bool> displayMsgInDialog{displayMsg.key, true};
/// For large screens; no dialog offers them.
inline constexpr Setting<bool> wholeWindow{"preferences/wholeWindow", false};
inline constexpr Setting<bool> fitLive{"preferences/fitLive", false};

// How real cameras are used. The camera service reads these, not the program; the environment
// overrides the store (cameras/video/videosettings.h). What is absent is left to the camera.

/// Size and rate, "1280x720@30".
inline constexpr const char *cameraFormat = "camera/format";
/// 90, 180 or 270 degrees clockwise.
inline constexpr const char *cameraTurn = "camera/turn";
inline constexpr const char *cameraMirror = "camera/mirror";
/// The frequency of the lamps, 50 or 60 Hz.
inline constexpr const char *cameraMains = "camera/mains";

} // namespace settings
