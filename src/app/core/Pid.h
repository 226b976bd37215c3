#pragma once

// A PID controller with a clamped output; plain value type. Units are the caller's: dt in
// the same time unit the derivative and integral are meant in (the metronome uses seconds).
// Any thread, one caller at a time.
class Pid {
public:
    Pid() = default; // dt 1.0, everything else 0
    // Previous error and integral start at 0. dt must not be 0.
    Pid(double dt, double max, double min, double Kp, double Kd, double Ki);

    // Returns Kp*e + Ki*integral + Kd*(e - previous e)/dt clamped to min..max, where
    // e = setpoint - measured; the integral keeps growing even while the output is clamped.
    double calculate(double setpoint, double measured);

private:
    double mDt = 1.0, mMax = 0.0, mMin = 0.0, mKp = 0.0, mKd = 0.0, mKi = 0.0, mPreviousError = 0.0, mIntegral = 0.0;
};
