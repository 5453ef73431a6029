// Stand-in: callback objects and the member-callback factory.  All template
// arguments are deduced from the method pointer; the object must outlive
// every holder of the callback.
#ifndef VORN_STANDIN_LIBXORP_CALLBACK_HH
#define VORN_STANDIN_LIBXORP_CALLBACK_HH

#include "libxorp/ref_ptr.hh"

template <class R, class A1, class A2>
struct XorpCallback2 {
    typedef ref_ptr<XorpCallback2> RefPtr;
    virtual ~XorpCallback2() {}
    virtual R dispatch(A1, A2) = 0;
};

template <class R, class A1, class A2, class A3, class A4>
struct XorpCallback4 {
    typedef ref_ptr<XorpCallback4> RefPtr;
    virtual ~XorpCallback4() {}
    virtual R dispatch(A1, A2, A3, A4) = 0;
};

template <class R, class O, class A1, class A2>
struct XorpMemberCallback2 : public XorpCallback2<R, A1, A2> {
    typedef R (O::*Method)(A1, A2);
    XorpMemberCallback2(O* obj, Method method) : obj_(obj), method_(method) {}
    R dispatch(A1 a1, A2 a2) { return (obj_->*method_)(a1, a2); }
    O* obj_;
    Method method_;
};

template <class R, class O, class A1, class A2, class A3, class A4>
struct XorpMemberCallback4 : public XorpCallback4<R, A1, A2, A3, A4> {
    typedef R (O::*Method)(A1, A2, A3, A4);
    XorpMemberCallback4(O* obj, Method method) : obj_(obj), method_(method) {}
    R dispatch(A1 a1, A2 a2, A3 a3, A4 a4) { return (obj_->*method_)(a1, a2, a3, a4); }
    O* obj_;
    Method method_;
};

template <class R, class O, class A1, class A2>
typename XorpCallback2<R, A1, A2>::RefPtr callback(O* obj, R (O::*method)(A1, A2))
{
    return typename XorpCallback2<R, A1, A2>::RefPtr(
        new XorpMemberCallback2<R, O, A1, A2>(obj, method));
}

template <class R, class O, class A1, class A2, class A3, class A4>
typename XorpCallback4<R, A1, A2, A3, A4>::RefPtr callback(O* obj, R (O::*method)(A1, A2, A3, A4))
{
    return typename XorpCallback4<R, A1, A2, A3, A4>::RefPtr(
        new XorpMemberCallback4<R, O, A1, A2, A3, A4>(obj, method));
}

#endif
