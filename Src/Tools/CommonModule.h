#pragma once

#include "Geodesy.h"

#include <QWidget>
#include <memory>

using ostravel::Location;
using ostravel::Vector2;

namespace Ui
{
class CommonModule;
}

/**
 * Small calculators for positions and for vectors in a plane.
 *
 * Has no parent and may stay open beside the main window, but does not keep the program running. Invalid numbers count
 * as 0, without a message.
 */
class CommonModule : public QWidget
{
    Q_OBJECT

public:
    /** Bearing between two positions, in hundredths of a degree. */
    using BearingFunction = std::int32_t (*)(Location, Location);

    /**
     * @param bearingFunction replaceable for tests, because get_bearing_cd never returns a negative bearing
     */
    explicit CommonModule(BearingFunction bearingFunction = ostravel::get_bearing_cd);
    ~CommonModule() override;

    /** Reads the two positions. */
    void getLocation();
    /** Converts hundredths of a degree to degrees, without normalisation: -123 is -1.23 and not 358.77. */
    static double bearingDegrees(std::int32_t hundredths);
    /** Reads the two vectors. */
    void getVector();

    /** Inputs and results of the last calculation. Distances and offsets in metres, bearing and angle in degrees. */
    ///@{
    Location loc1() const { return m_loc1; }
    Location loc2() const { return m_loc2; }
    double distance() const { return m_distance; }
    double bearing() const { return m_bearing; }
    Vector2 diff() const { return m_diff; }
    Vector2 a() const { return m_a; }
    Vector2 b() const { return m_b; }
    Vector2 add() const { return m_add; }
    Vector2 sub() const { return m_sub; }
    float dot() const { return m_dot; }
    float cross() const { return m_cross; }
    float angle() const { return m_angle; }
    ///@}

public slots:
    /** Shows distance, bearing and offset from the first position to the second. */
    void on_pushButton_calDIstanc_clicked();
    /** Shows sum, difference, products and angle of the two vectors. */
    void on_pushButton_calVector_clicked();
    /** Shows the third position moved by the offset. */
    void on_pushButton_calDIstanc_2_clicked();

private:
    void nameForAssistance();
    void alignColumns();

    std::unique_ptr<Ui::CommonModule> m_ui;
    BearingFunction m_bearingFunction;
    Location m_loc1{};
    Location m_loc2{};
    double m_distance = 0.0;
    double m_bearing = 0.0;
    Vector2 m_diff{};
    Vector2 m_a{};
    Vector2 m_b{};
    Vector2 m_add{};
    Vector2 m_sub{};
    float m_dot = 0.0F;
    float m_cross = 0.0F;
    float m_angle = 0.0F;
};
