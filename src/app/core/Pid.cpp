#include "Pid.h"

Pid::Pid(double dt, double max, double min, double Kp, double Kd, double Ki)
    : mDt(dt)
    , mMax(max)
    , mMin(min)
    , mKp(Kp)
    , mKd(Kd)
    , mKi(Ki)
{
}

double Pid::calculate(double setpoint, double measured)
{
    const double error = setpoint - measured;
    mIntegral += error * mDt;
    const double derivative = (error - mPreviousError) / mDt;
    double output = mKp * error + mKi * mIntegral + mKd * derivative;
    // Not std::clamp: a default Pid has min == max == 0, and the order must not matter.
    if (output > mMax)
        output = mMax;
    else if (output < mMin)
        output = mMin;
    mPreviousError = error;
    return output;
}
