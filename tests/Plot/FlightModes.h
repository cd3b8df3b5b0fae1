#pragma once

#include <QMap>
#include <QString>

// Expected texts of the two flight mode channels, written independently of the program's tables.

// clang-format off
inline QMap<int, QString> mainFlightModes()
{
    return {{1, "遥控模式"}, {2, "自主模式"}, {3, "保护模式"}, {4, "调试模式"}, {5, "待飞模式"}};
}

inline QMap<int, QString> subFlightModes()
{
    return {{1, "比例遥控"},       {2, "姿态油门"},
            {3, "姿态空速"},       {4, "姿态模式（旋翼）"},
            {5, "高度模式（旋翼）"}, {6, "位置模式（旋翼）"},
            {7, "辅助模式"},       {17, "弹射起飞"},
            {18, "降落（伞降）"},   {19, "原地盘旋"},
            {20, "指点"},          {21, "绕点"},
            {22, "归航"},          {23, "地面跟随"},
            {24, "目标跟随"},       {25, "空投"},
            {26, "目标攻击"},       {27, "航线"},
            {28, "降落（深失速）"}, {29, "降落（滑降）"},
            {30, "切伞"},          {31, "立即熄火"},
            {33, "垂直起飞"},       {34, "垂直降落"},
            {35, "攻击待命"},       {36, "航线攻击"},
            {49, "低电量保护"},     {51, "数据链丢失保护"},
            {52, "遥控丢失保护"},   {53, "失速保护"},
            {54, "坠毁保护"},       {65, "地面调试"},
            {66, "地面准备"}};
}
// clang-format on
