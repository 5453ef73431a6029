// Stand-in: a strong, reference-counting owner.  Not thread-safe.  Converts
// implicitly from a raw pointer (and takes ownership); no conversion between
// ref_ptr<A> and ref_ptr<B>.
#ifndef VORN_STANDIN_LIBXORP_REF_PTR_HH
#define VORN_STANDIN_LIBXORP_REF_PTR_HH

template <class T>
class ref_ptr {
public:
    ref_ptr(T* p = 0) : p_(p), count_(p ? new int(1) : 0) {}  // NOLINT: implicit as in the real one
    ref_ptr(const ref_ptr& other) : p_(other.p_), count_(other.count_)
    {
        if (count_) ++*count_;
    }
    ~ref_ptr() { release(); }

    ref_ptr& operator=(const ref_ptr& other)
    {
        if (this != &other) {
            if (other.count_) ++*other.count_;
            release();
            p_ = other.p_;
            count_ = other.count_;
        }
        return *this;
    }

    T& operator*() const { return *p_; }
    T* operator->() const { return p_; }
    T* get() const { return p_; }
    bool is_empty() const { return p_ == 0; }
    bool is_only() const { return count_ && *count_ == 1; }
    bool at_least(int n) const { return count_ && *count_ >= n; }
    bool operator==(const ref_ptr& other) const { return p_ == other.p_; }

    // Drops this reference and leaves the pointer empty.
    void release() const
    {
        if (count_ && --*count_ == 0) {
            delete p_;
            delete count_;
        }
        p_ = 0;
        count_ = 0;
    }
    void reset() const { release(); }

private:
    mutable T* p_;
    mutable int* count_;
};

#endif
