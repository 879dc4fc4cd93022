#pragma once

// How a window keeps the model it shows. The Program owns the models and lets go of a closed
// window's model at once; the window holds it too, so the model outlives the window's child
// widgets, whose bindings point into it. A window derives from its holder before it derives
// from QWidget, so the holder is built first and destroyed last.
//
// A handler of the model started from the window may still be waiting in a yield when the
// window is closed: the widget that started it is still on the stack below it, so the window
// is deleted only when the last such handler has returned.

#include <QObject>
#include <memory>
#include <utility>

namespace i2cbridge {

template <class Model>
class ModelHolder {
public:
    ModelHolder(const ModelHolder&) = delete;
    ModelHolder& operator=(const ModelHolder&) = delete;

    // While one lives, a handler of the model runs from the window. It counts down also when
    // the handler throws, and deletes the window when it was closed meanwhile.
    class Running {
    public:
        explicit Running(ModelHolder& holder) : holder_(holder) { ++holder_.running_; }
        ~Running() {
            if (--holder_.running_ == 0 && holder_.closed_ != nullptr) {
                holder_.closed_->deleteLater();
            }
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

    private:
        ModelHolder& holder_;
    };

protected:
    explicit ModelHolder(std::shared_ptr<Model> model) : held_(std::move(model)) {}
    ~ModelHolder() = default;

    Model& held() const { return *held_; }
    bool handlersRunning() const { return running_ > 0; }

    // Runs a handler of the model as one of the window's own.
    template <class Handler>
    void runHandler(Handler&& handler) {
        const Running running(*this);
        std::forward<Handler>(handler)();
    }

    // The window was closed: it is deleted now when none of its handlers runs, or when the
    // last one returns.
    void deleteWhenIdle(QObject& window) {
        if (running_ == 0) {
            window.deleteLater();
        } else {
            closed_ = &window;
        }
    }

private:
    std::shared_ptr<Model> held_;
    int running_ = 0;
    QObject* closed_ = nullptr;
};

}  // namespace i2cbridge
