import KelPay.Components
import KelPay.Gallery

/// One page of the gallery.
FormArea {
    required property Exhibits exhibits
}
