#pragma once

/// Ring of `Capacity` slots that knows its first and its last item. Empty slots hold T().
/// Main thread only.
template <class T, int Capacity>
class Bounded {
  public:
    /// Adds after the last item. @return false if the ring is full; nothing is stored then
    bool put(const T& item) {
        if (isFull()) return false;
        if (start == 0) start = 1;
        stop = stop % Capacity + 1;
        slots_[stop - 1] = item;
        return true;
    }

    [[nodiscard]] bool isEmpty() const { return start == 0; }
    [[nodiscard]] bool isFull() const { return start != 0 && stop % Capacity + 1 == start; }

    /// The slot `index` places after the first item, going round the ring: valid for any index.
    [[nodiscard]] const T& slotAt(int index) const {
        int place = start + index - 1;
        if (place < 0 || place >= Capacity) place = (place % Capacity + Capacity) % Capacity;
        return slots_[place];
    }

    void clear() { *this = Bounded(); }

  protected:
    int start = 0;  // place of the first item, from 1; 0 when empty
    int stop = 0;   // place of the last item, from 1; 0 when empty

  private:
    T slots_[Capacity] = {};
};

/// The libraries' list of fixed capacity. It does not own what its items point to.
template <class T, int Capacity>
class CList {
  public:
    /// Adds at the end. A full list stays as it is; @return whether the item was taken.
    bool append(const T& item) { return items_.put(item); }

    /// Item `index`, from 0, without a range check: past the end the result is an empty slot (T())
    /// or, further on, the first items again.
    [[nodiscard]] const T& itemAt(int index) const { return items_.slotAt(index); }

    [[nodiscard]] bool isEmpty() const { return items_.isEmpty(); }
    void clear() { items_.clear(); }

  private:
    Bounded<T, Capacity> items_;
};
